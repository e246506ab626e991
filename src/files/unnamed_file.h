// A file that is written before it has a name. Until it is given one, the system takes it away whenever the
// process ends, however it ends; so a whole ledger never stays behind under a name that nobody knows.
//
// A file system that knows no such files gets a hidden name instead, ".corvalissement-" and what makes it
// unique. Such a name, and the one that a file bears for a moment while it takes the place of another, is
// locked by its process; one that isn't is of a process that was killed, and goes with the next output in
// that folder.
#pragma once

#include "files/unfinished_files.h"

#include <string>

#include <sys/types.h>

namespace corvalissement {

class UnnamedFile {
public:
    // Opens a file in `folder` for reading and writing. A failure is told by `error`.
    UnnamedFile(const std::string& folder, mode_t mode);
    ~UnnamedFile();
    UnnamedFile(const UnnamedFile&) = delete;
    UnnamedFile& operator=(const UnnamedFile&) = delete;

    // The system's number for why there is no file; 0 when there is one.
    [[nodiscard]] int error() const noexcept { return error_; }
    [[nodiscard]] int descriptor() const noexcept { return descriptor_; }

    // What another part of this process opens to reach the file, as long as the object lives.
    [[nodiscard]] std::string path() const;

    // Brings the file to the disk and gives it the name `target`, in the same folder, in place of whatever
    // has it. Gives the system's number, 0 when it went well; on failure what had the name still has it.
    [[nodiscard]] int replace(const std::string& target);

    // The same for a name that nothing may have: EEXIST when something does.
    [[nodiscard]] int put_new(const std::string& target);

private:
    void open_named(mode_t mode);
    [[nodiscard]] int take_hidden_name();
    void drop_hidden_name() noexcept;

    std::string folder_;
    std::string hidden_; // the hidden name that it bears, "" for none
    UnfinishedFile unfinished_;
    int descriptor_ = -1;
    int error_ = 0;
};

} // namespace corvalissement
