#pragma once

#include "util/ZwError.h"

#include <functional>

// The error a call raises; number 0 when it raises none.
inline ZwError errorOf(const std::function<void()>& call)
{
    try {
        call();
    } catch (const ZwError& e) {
        return e;
    }
    return ZwError(0, QString());
}
