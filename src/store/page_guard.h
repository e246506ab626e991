// Pages of a base that prove themselves. The library that keeps the base on disk notices a damaged page only
// when its structure no longer holds; a byte that flips inside an amount would be read as it stands. So
// every page of the main file carries, in its last eight bytes, a sum over its content and its number: laid
// when the page is written, checked the first time the page is read or mapped. A page that does not prove
// itself fails the read, which the store reports as a damaged base.
//
// The guard is a layer between that library and the files (a "VFS"). The write-ahead log carries sums of
// the library's own and passes untouched.
#pragma once

#include <cstddef>
#include <cstdint>

namespace corvalissement {

inline constexpr std::size_t GUARDED_PAGE = 4096; // bytes of every page of a base
inline constexpr int GUARD_BYTES = 8;             // kept free for the sum at the end of each page

// A call to the open file (sqlite3_file_control, an int): whether a page of nothing but zeros is let through.
// A page taken and given back inside one transaction is never written: it is a hole, and only a change that
// takes it again comes across it. To anything that reads records, such a page is a lost one.
inline constexpr int GUARD_HOLES = 0x43564C;

// Makes the guard known to the library, once for the process; the name to open a base with.
[[nodiscard]] const char* page_guard();

// The sum of a page; `number` counts pages from 0. Public for the tests.
[[nodiscard]] std::uint64_t page_sum(const unsigned char* page, std::uint64_t number) noexcept;

} // namespace corvalissement
