#pragma once

#include "support/temporary.h"

using orvix::test::TemporaryFile;

/// What `action` writes to the standard error stream.
template <typename Action>
std::string errorOutput(Action action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}
