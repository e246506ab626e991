// The file of an embedded base before any of it is used: what it has to be, and how a new one comes about.
//
// A base is told by its first bytes: the library's own mark, our application number (so that the base of
// another program is refused, never written into) and the number of our format. A new base is made under
// another name and appears under its own when it is complete, so that a kill leaves none or a whole one.
#pragma once

#include "output/unfinished_files.h"

#include <string>

namespace corvalissement {

inline constexpr unsigned BASE_APPLICATION = 0x43564C53; // "CVLS"
inline constexpr unsigned BASE_FORMAT = 1;

enum class BaseState { missing, empty, present };

// What stands at `path`. StepFailure (ERR_STORE) when it is something that can be no base: a folder, another
// kind of file, the base of another program or of a later version, a file cut short, one that can't be read.
[[nodiscard]] BaseState check_base_file(const std::string& path);

// A base that comes about. It is made aside, as `path` with ".creation" behind it, by one process at a time;
// another that wants the same base waits, and then finds it there. What a killed process has left aside is
// cleared away by the next one.
class NewBase {
public:
    // Waits for a process that makes the same base. Throws StepFailure (ERR_STORE) as check_base_file does,
    // and when nothing can be made there.
    explicit NewBase(std::string path);
    // What was not published is taken away.
    ~NewBase();
    NewBase(const NewBase&) = delete;
    NewBase& operator=(const NewBase&) = delete;

    // False when a base stands at `path`: there is nothing to make.
    [[nodiscard]] bool needed() const noexcept { return descriptor_ >= 0; }

    // The base that is being made, empty at first. REQUIRES needed().
    [[nodiscard]] const std::string& aside() const noexcept { return aside_; }

    // Puts it under its own name. REQUIRES needed(), and that nobody has it open. Throws StepFailure
    // (ERR_STORE) when something has come to stand there meanwhile.
    void publish();

private:
    bool take_place();
    void clear_aside() const noexcept;

    std::string path_;
    std::string aside_;
    int descriptor_ = -1; // of the file aside; holds the right to make this base
    UnfinishedFile unfinished_[3];
};

// Makes an empty base at `path`, where nothing stands yet, or an empty file.
void create_base_file(const std::string& path);

} // namespace corvalissement
