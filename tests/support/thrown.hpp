#pragma once
// The error a call throws, for tests that compare whole errors: code, message and status.

#include "halyward/base/error.hpp"

#include <functional>

// What `call` throws. A call that throws nothing gives an error with the code "none", so
// that comparing it with the expected error fails and shows what happened.
inline halyward::HalywardError thrownBy(const std::function<void()>& call) {
    try {
        call();
    } catch (const halyward::HalywardError& error) {
        return error;
    }
    return halyward::HalywardError("none", "nothing was thrown", 0);
}
