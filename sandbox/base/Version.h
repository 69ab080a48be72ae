// The project's version, as CMake has it.
#pragma once

namespace Sandbox {
inline constexpr char kVersion[] = VELKAR_VERSION;
}  // namespace Sandbox
