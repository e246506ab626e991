// The file of an embedded base before any of it is used: what it has to be, and how a new one comes about.
//
// A base is told by its first bytes: the library's own mark, our application number (so that the base of
// another program is refused, never written into) and the number of our format. A new base is made under
// another name and appears under its own when it is complete and on the disk, so that a failure or a kill
// leaves none or a whole one.
#pragma once

#include "output/unfinished_files.h"

#include <string>

namespace corvalissement {

class SqliteConnection;

inline constexpr unsigned BASE_APPLICATION = 0x43564C53; // "CVLS"
inline constexpr unsigned BASE_FORMAT = 1;

enum class BaseState { missing, empty, present };

// The file that `shown` means: its whole path, links followed. A path is a path and nothing else: names that
// the library would take for something of its own (":memory:", "file:x") are files like any other.
// StepFailure (ERR_STORE) when there can be no file of that name.
[[nodiscard]] std::string base_path(const std::string& shown);

// What stands at `path`, without opening it: to close a file is to lose the locks that any connection of
// this process has on it. StepFailure (ERR_STORE) that names `shown` when it is something that can be no
// base: a folder, another kind of file, a file with several names, of which each would have a log of its own.
[[nodiscard]] BaseState look_at_base(const std::string& path, const std::string& shown);

// Looks at the first bytes of the file that has been opened, before any statement. StepFailure (ERR_STORE)
// for what is no base, the base of another program or of a later version. A base that is being made has no
// log yet.
enum class BaseLog { none, kept };
void check_base_header(const SqliteConnection& connection, BaseLog log);

// True when the file is shorter than its own head says, and no log holds the rest: why a base is damaged.
[[nodiscard]] bool is_cut_short(const SqliteConnection& connection, const std::string& path);

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
