// Files that stand on the disk before they are complete. A run that ends well or badly takes its own away
// itself; this list is for one that is stopped from outside, whose signal handler may call nothing but what
// `remove_unfinished_files` calls.
#pragma once

#include <string>

namespace corvalissement {

// Notes a file for as long as the object lives. A path too long for the list, or one more file than it
// holds, is not noted: it then stays behind when the run is stopped.
class UnfinishedFile {
public:
    UnfinishedFile() noexcept = default;
    explicit UnfinishedFile(const std::string& path) noexcept;
    ~UnfinishedFile();
    UnfinishedFile(UnfinishedFile&& other) noexcept;
    UnfinishedFile& operator=(UnfinishedFile&& other) noexcept;
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

private:
    int slot_ = -1;
};

// Removes all files noted. May be called from a signal handler.
void remove_unfinished_files() noexcept;

} // namespace corvalissement
