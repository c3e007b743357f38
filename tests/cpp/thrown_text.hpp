#pragma once

#include <exception>
#include <string>

/// Text of the exception that f throws; "no exception" when it throws none.
template <class F>
std::string thrown_text(const F& f) {
    try {
        f();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "no exception";
}
