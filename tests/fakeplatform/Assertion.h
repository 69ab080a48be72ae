// Included first in every source of the fake platform: what the real sources assert is a violation here.
#pragma once

#include <string>

#include "platform/Assertion.h"

namespace Fake {
void Violation(const std::string& strText);
}
#define RaiseAssertion(text) Fake::Violation(text)
