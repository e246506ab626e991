// What the fuzz targets share. A target is one LLVMFuzzerTestOneInput; it says in its first lines what a
// fault is. A fault ends the process, so that the fuzzer keeps the input and the replay names it.
#pragma once

#include "support/scratch.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace corvalissement::fuzz {

using testing_support::bytes_of;
using testing_support::put_bytes;

inline void require(bool holds, const std::string& fault) {
    if (holds) return;
    std::fprintf(stderr, "fault: %s\n", fault.c_str());
    std::abort();
}

inline std::string text_of(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// A folder of this process.
inline const testing_support::Scratch& scratch() {
    static const testing_support::Scratch folder;
    return folder;
}

} // namespace corvalissement::fuzz
