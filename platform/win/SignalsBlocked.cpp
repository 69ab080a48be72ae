#include "platform/common/SignalsBlocked.h"

namespace Kernova::Internal {

SignalsBlocked::SignalsBlocked() = default;
SignalsBlocked::~SignalsBlocked() = default;

}  // namespace Kernova::Internal
