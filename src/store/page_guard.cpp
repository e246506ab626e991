#include "store/page_guard.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <new>
#include <sqlite3.h>
#include <vector>

namespace corvalissement {

namespace {

constexpr std::size_t CONTENT = GUARDED_PAGE - GUARD_BYTES;
constexpr std::uint64_t FACTOR = 0x9E3779B97F4A7C15U;

std::uint64_t word_at(const unsigned char* bytes) noexcept {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
    return word;
}

void put_word(unsigned char* bytes, std::uint64_t word) noexcept {
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
    std::memcpy(bytes, &word, sizeof word);
}

// A main file under guard. The library gives the memory; the file of the layer below lies behind it.
struct Guarded {
    sqlite3_file file; // first, as the library sees it
    std::vector<bool>* proven;
    bool holes; // a writer may come across pages that were never written
};

Guarded& guarded(sqlite3_file* file) { return *reinterpret_cast<Guarded*>(file); }
sqlite3_file* below(sqlite3_file* file) {
    return reinterpret_cast<sqlite3_file*>(reinterpret_cast<Guarded*>(file) + 1);
}

bool whole_page(sqlite3_int64 offset, int amount) {
    return amount == static_cast<int>(GUARDED_PAGE) && offset % static_cast<int>(GUARDED_PAGE) == 0;
}

std::uint64_t number_of(sqlite3_int64 offset) { return static_cast<std::uint64_t>(offset) / GUARDED_PAGE; }

bool proves_itself(const Guarded& file, const unsigned char* page, sqlite3_int64 offset) {
    if (word_at(page + CONTENT) == page_sum(page, number_of(offset))) return true;
    return file.holes && std::all_of(page, page + GUARDED_PAGE, [](unsigned char byte) { return byte == 0; });
}

int guard_close(sqlite3_file* file) {
    delete guarded(file).proven;
    return below(file)->pMethods->xClose(below(file));
}

int guard_read(sqlite3_file* file, void* buffer, int amount, sqlite3_int64 offset) {
    const int result = below(file)->pMethods->xRead(below(file), buffer, amount, offset);
    if (!whole_page(offset, amount)) return result;
    if (result == SQLITE_IOERR_SHORT_READ && offset > 0 && !guarded(file).holes) return SQLITE_IOERR_DATA;
    if (result != SQLITE_OK) return result;
    return proves_itself(guarded(file), static_cast<const unsigned char*>(buffer), offset)
               ? SQLITE_OK
               : SQLITE_IOERR_DATA;
}

int guard_write(sqlite3_file* file, const void* buffer, int amount, sqlite3_int64 offset) {
    if (!whole_page(offset, amount))
        return below(file)->pMethods->xWrite(below(file), buffer, amount, offset);
    std::array<unsigned char, GUARDED_PAGE> page;
    std::memcpy(page.data(), buffer, CONTENT);
    put_word(page.data() + CONTENT, page_sum(page.data(), number_of(offset)));
    return below(file)->pMethods->xWrite(below(file), page.data(), amount, offset);
}

int guard_control(sqlite3_file* file, int op, void* arg) {
    if (op != GUARD_HOLES) return below(file)->pMethods->xFileControl(below(file), op, arg);
    guarded(file).holes = *static_cast<const int*>(arg) != 0;
    return SQLITE_OK;
}

// Marks a page as proven, so that the mapped page is summed once. False when there is no memory for it.
bool mark_proven(std::vector<bool>& proven, std::size_t number) noexcept {
    try {
        if (proven.size() <= number) proven.resize(number + number / 2 + 64);
        proven[number] = true;
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

int guard_fetch(sqlite3_file* file, sqlite3_int64 offset, int amount, void** page) {
    const int result = below(file)->pMethods->xFetch(below(file), offset, amount, page);
    if (result != SQLITE_OK || *page == nullptr || !whole_page(offset, amount)) return result;
    std::vector<bool>& proven = *guarded(file).proven;
    const std::size_t number = number_of(offset);
    if (number < proven.size() && proven[number]) return SQLITE_OK;
    const bool good = proves_itself(guarded(file), static_cast<const unsigned char*>(*page), offset);
    if (good && mark_proven(proven, number)) return SQLITE_OK;
    static_cast<void>(below(file)->pMethods->xUnfetch(below(file), offset, *page));
    *page = nullptr;
    return good ? SQLITE_NOMEM : SQLITE_IOERR_DATA;
}

// What passes unchanged to the layer below.
int pass_truncate(sqlite3_file* f, sqlite3_int64 size) {
    return below(f)->pMethods->xTruncate(below(f), size);
}
int pass_sync(sqlite3_file* f, int flags) { return below(f)->pMethods->xSync(below(f), flags); }
int pass_size(sqlite3_file* f, sqlite3_int64* size) { return below(f)->pMethods->xFileSize(below(f), size); }
int pass_reserved(sqlite3_file* f, int* held) {
    return below(f)->pMethods->xCheckReservedLock(below(f), held);
}
int pass_lock(sqlite3_file* f, int level) { return below(f)->pMethods->xLock(below(f), level); }
int pass_unlock(sqlite3_file* f, int level) { return below(f)->pMethods->xUnlock(below(f), level); }
int pass_sector(sqlite3_file* f) { return below(f)->pMethods->xSectorSize(below(f)); }
int pass_device(sqlite3_file* f) { return below(f)->pMethods->xDeviceCharacteristics(below(f)); }
int pass_shm_map(sqlite3_file* f, int region, int size, int extend, void volatile** at) {
    return below(f)->pMethods->xShmMap(below(f), region, size, extend, at);
}
int pass_shm_lock(sqlite3_file* f, int offset, int count, int flags) {
    return below(f)->pMethods->xShmLock(below(f), offset, count, flags);
}
void pass_shm_barrier(sqlite3_file* f) { below(f)->pMethods->xShmBarrier(below(f)); }
int pass_shm_unmap(sqlite3_file* f, int drop) { return below(f)->pMethods->xShmUnmap(below(f), drop); }
int pass_unfetch(sqlite3_file* f, sqlite3_int64 offset, void* page) {
    return below(f)->pMethods->xUnfetch(below(f), offset, page);
}

const sqlite3_io_methods METHODS = {
    3,           guard_close,  guard_read,    guard_write,      pass_truncate,  pass_sync,
    pass_size,   pass_lock,    pass_unlock,   pass_reserved,    guard_control,  pass_sector,
    pass_device, pass_shm_map, pass_shm_lock, pass_shm_barrier, pass_shm_unmap, guard_fetch,
    pass_unfetch};

sqlite3_vfs* under(sqlite3_vfs* layer) { return static_cast<sqlite3_vfs*>(layer->pAppData); }

int guard_open(sqlite3_vfs* layer, const char* name, sqlite3_file* file, int flags, int* given) {
    sqlite3_vfs* const system = under(layer);
    if ((flags & SQLITE_OPEN_MAIN_DB) == 0) return system->xOpen(system, name, file, flags, given);
    file->pMethods = nullptr;
    const int result = system->xOpen(system, name, below(file), flags, given);
    if (result != SQLITE_OK) return result;
    Guarded& mine = guarded(file);
    mine.holes = false;
    const bool able = below(file)->pMethods->iVersion >= 3;
    mine.proven = able ? new (std::nothrow) std::vector<bool>() : nullptr;
    if (mine.proven == nullptr) {
        static_cast<void>(below(file)->pMethods->xClose(below(file)));
        return able ? SQLITE_NOMEM : SQLITE_CANTOPEN;
    }
    file->pMethods = &METHODS;
    return SQLITE_OK;
}

int pass_delete(sqlite3_vfs* l, const char* name, int sync) {
    return under(l)->xDelete(under(l), name, sync);
}
int pass_access(sqlite3_vfs* l, const char* name, int flags, int* result) {
    return under(l)->xAccess(under(l), name, flags, result);
}
int pass_full_name(sqlite3_vfs* l, const char* name, int size, char* out) {
    return under(l)->xFullPathname(under(l), name, size, out);
}
int pass_randomness(sqlite3_vfs* l, int size, char* out) {
    return under(l)->xRandomness(under(l), size, out);
}
int pass_sleep(sqlite3_vfs* l, int microseconds) { return under(l)->xSleep(under(l), microseconds); }
int pass_time(sqlite3_vfs* l, double* day) { return under(l)->xCurrentTime(under(l), day); }
int pass_error(sqlite3_vfs* l, int size, char* out) { return under(l)->xGetLastError(under(l), size, out); }
int pass_time_64(sqlite3_vfs* l, sqlite3_int64* time) { return under(l)->xCurrentTimeInt64(under(l), time); }

sqlite3_vfs* register_guard() {
    static sqlite3_vfs layer{};
    sqlite3_vfs* const system = sqlite3_vfs_find(nullptr);
    layer.iVersion = 2;
    layer.szOsFile = static_cast<int>(sizeof(Guarded)) + system->szOsFile;
    layer.mxPathname = system->mxPathname;
    layer.zName = "corvalissement";
    layer.pAppData = system;
    layer.xOpen = guard_open;
    layer.xDelete = pass_delete;
    layer.xAccess = pass_access;
    layer.xFullPathname = pass_full_name;
    layer.xRandomness = pass_randomness;
    layer.xSleep = pass_sleep;
    layer.xCurrentTime = pass_time;
    layer.xGetLastError = pass_error;
    layer.xCurrentTimeInt64 = pass_time_64;
    return sqlite3_vfs_register(&layer, 0) == SQLITE_OK ? &layer : nullptr;
}

} // namespace

std::uint64_t page_sum(const unsigned char* page, std::uint64_t number) noexcept {
    // Four lanes side by side; each step is reversible in the word it takes, so one changed word always
    // changes its lane.
    std::array<std::uint64_t, 4> lanes = {number + 1, ~number, number ^ FACTOR, FACTOR};
    std::size_t at = 0;
    for (; at + 32 <= CONTENT; at += 32)
        for (std::size_t lane = 0; lane < 4; ++lane)
            lanes[lane] = std::rotl((lanes[lane] ^ word_at(page + at + 8 * lane)) * FACTOR, 29);
    for (; at + 8 <= CONTENT; at += 8)
        lanes[0] = std::rotl((lanes[0] ^ word_at(page + at)) * FACTOR, 29);
    std::uint64_t sum = 0;
    for (const std::uint64_t lane : lanes)
        sum = std::rotl((sum ^ lane) * FACTOR, 31);
    return sum ^ (sum >> 32U);
}

const char* page_guard() {
    static const sqlite3_vfs* const layer = register_guard();
    return layer == nullptr ? nullptr : layer->zName;
}

} // namespace corvalissement
