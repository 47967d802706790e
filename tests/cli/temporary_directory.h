#pragma once

#include "support/temporary.h"

using orvix::test::TemporaryDirectory;

/// The message of the error of type `Error` that `action` throws; empty when it throws none.
template <typename Error, typename Action>
std::string errorOf(Action action) {
    try {
        action();
    } catch (const Error& error) {
        return error.what();
    }
    return {};
}
