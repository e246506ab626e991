#include "files/unfinished_files.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <unistd.h>
#include <utility>

namespace corvalissement {

namespace {

constexpr std::size_t MOST_FILES = 32;
constexpr std::size_t LONGEST_PATH = 4096;

enum State : int { FREE, TAKEN, NOTED };

// A path is written while its slot is TAKEN, so that a handler never reads half of one.
struct Slot {
    std::atomic<int> state{FREE};
    std::array<char, LONGEST_PATH> path{};
};

std::array<Slot, MOST_FILES> slots;

static_assert(std::atomic<int>::is_always_lock_free, "a signal handler reads the states");

} // namespace

UnfinishedFile::UnfinishedFile(const std::string& path) noexcept {
    if (path.size() >= LONGEST_PATH) return;
    for (std::size_t i = 0; i < slots.size(); ++i) {
        int expected = FREE;
        if (!slots[i].state.compare_exchange_strong(expected, TAKEN)) continue;
        *std::copy(path.begin(), path.end(), slots[i].path.begin()) = '\0';
        slots[i].state = NOTED;
        slot_ = static_cast<int>(i);
        return;
    }
}

UnfinishedFile::~UnfinishedFile() {
    if (slot_ >= 0) slots[static_cast<std::size_t>(slot_)].state = FREE;
}

UnfinishedFile::UnfinishedFile(UnfinishedFile&& other) noexcept : slot_(std::exchange(other.slot_, -1)) {}

UnfinishedFile& UnfinishedFile::operator=(UnfinishedFile&& other) noexcept {
    std::swap(slot_, other.slot_);
    return *this;
}

void remove_unfinished_files() noexcept {
    for (const Slot& slot : slots)
        if (slot.state == NOTED) static_cast<void>(::unlink(slot.path.data()));
}

} // namespace corvalissement
