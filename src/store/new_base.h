// How a new base comes about: under another name, until it is complete and on the disk, so that a failure or
// a kill leaves none or a whole one.
#pragma once

#include "files/unfinished_files.h"

#include <string>

namespace corvalissement {

// A base that comes about. It is made aside, as its path with ".creation" behind it, by one process at a
// time; another that wants the same base waits, and then finds it there. What a killed process has left
// aside is cleared away by the next one.
class NewBase {
public:
    // Waits for a process that makes the same base. Throws StepFailure (ERR_STORE) as look_at_base does, when
    // nothing can be made there, and when files of others stand where it would be made: they are left alone.
    NewBase(std::string path, std::string shown);
    // What was not published is taken away.
    ~NewBase();
    NewBase(const NewBase&) = delete;
    NewBase& operator=(const NewBase&) = delete;

    // False when a base stands at the path: there is nothing to make.
    [[nodiscard]] bool needed() const noexcept { return descriptor_ >= 0; }

    // The base that is being made, empty at first, without a log. REQUIRES needed().
    [[nodiscard]] const std::string& aside() const noexcept { return aside_; }

    // Brings it to the disk and puts it under its own name. REQUIRES needed(), and that nobody has it open.
    // Throws StepFailure (ERR_STORE), with nothing under the name, when any step of that fails or something
    // has come to stand there meanwhile.
    void publish();

private:
    bool take_place();
    void clear_left() noexcept;
    void make_aside();
    void complete_aside() const;
    void check_aside() const;
    void require_no_log() const;
    void clear_beside() const;
    void give_name();
    bool renamed_at_once() const;
    bool linked() const;
    void clear_aside() const noexcept;
    void leave_place() noexcept;
    [[noreturn]] void refuse_creation(int error) const;

    std::string path_;
    std::string shown_;
    std::string aside_;
    std::string place_;   // the file whose lock is the right to make this base
    int holder_ = -1;     // of `place_`, locked
    int descriptor_ = -1; // of the file aside
    UnfinishedFile unfinished_[2];
};

} // namespace corvalissement
