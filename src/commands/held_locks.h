// The locks that one session holds, on records and on names that need no record.
#pragma once

#include "store/store.h"

#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace corvalissement {

class HeldLocks {
public:
    // `store` is not owned and outlives the locks.
    explicit HeldLocks(Store& store) : store_(store) {}

    // Taken until `unlock` or `unlock_all`; false when another session holds the name. What is held already
    // can be locked again.
    [[nodiscard]] bool lock(std::string_view file, std::string_view key) {
        if (!store_.lock(file, key)) return false;
        held_.emplace(file, key);
        return true;
    }
    [[nodiscard]] bool holds(std::string_view file, std::string_view key) const {
        return held_.contains({std::string(file), std::string(key)});
    }
    void unlock(std::string_view file, std::string_view key) {
        if (held_.erase({std::string(file), std::string(key)}) != 0) store_.unlock(file, key);
    }
    void unlock_all() {
        for (const auto& [file, key] : held_)
            store_.unlock(file, key);
        held_.clear();
    }

private:
    Store& store_;
    std::set<std::pair<std::string, std::string>> held_; // file and key
};

} // namespace corvalissement
