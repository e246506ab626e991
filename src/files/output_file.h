// A file that appears under its name only when it is complete. What is written goes to a file without a
// name in the same folder (unnamed_file.h); `commit` brings it to the disk and names it. Whatever ends
// earlier (a failure, an exception, the end of the process) lets that file go and leaves what stood under the
// name.
//
// A name that stands for something other than a regular file (a terminal, a pipe, /dev/stdout) is written
// to directly, since there is nothing to rename. A symbolic link is followed: what it points to is replaced.
//
// Failures are kept, not thrown, until `commit`: the libraries that write through this class cannot stand
// an exception from their output, and one message at the end says more than one for each line written.
// Not thread-safe.
#pragma once

#include "files/unnamed_file.h"

#include <memory>
#include <string>
#include <string_view>

namespace corvalissement {

// What a person is told of a system error number (errno), in French: "le disque est plein".
[[nodiscard]] std::string system_reason(int error_number);

// A file that no output of this process may take the place of, whatever name or link leads to it: the base
// that is being read. For as long as the object lives.
class GuardedFile {
public:
    explicit GuardedFile(const std::string& path);
    ~GuardedFile();
    GuardedFile(const GuardedFile&) = delete;
    GuardedFile& operator=(const GuardedFile&) = delete;
};

class OutputFile {
public:
    // Opens the output. A path that cannot be written is told by `failed`, at the latest by `commit`.
    explicit OutputFile(std::string path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Appends. After the first failure nothing more is written, so that the caller can go on cheaply.
    void write(std::string_view bytes) noexcept;

    // Makes the output fail for a reason found elsewhere; the first reason stands.
    void fail(std::string reason);

    // The same for a number of the system (errno). Needs no memory: ENOMEM may be the reason.
    void fail_with_errno(int error_number) noexcept;

    [[nodiscard]] bool failed() const noexcept { return !reason_.empty(); }
    [[nodiscard]] const std::string& reason() const noexcept { return reason_; } // "" when nothing failed
    [[nodiscard]] const std::string& path() const noexcept { return path_; }

    // The folder of the file, for whatever else has to be put aside while it is made. A folder for
    // temporary files when the output is no regular file.
    [[nodiscard]] const std::string& folder() const noexcept { return folder_; }

    // Completes the file under its name. Throws StepFailure (ERR_OUTPUT, "path : reason", the path) when
    // anything has failed since the construction; the output is then gone. A second call does nothing.
    void commit();

private:
    void open();
    void open_straight(const std::string& target);
    void open_unnamed(int mode);
    void write_out(std::string_view bytes) noexcept;
    void flush() noexcept;
    void close_descriptor() noexcept;

    std::string path_;
    std::string folder_;
    std::string target_;                   // what takes the complete file; "" when written to directly
    std::unique_ptr<UnnamedFile> unnamed_; // none when written to directly
    std::string buffer_; // never grows past its first capacity, so that `write` allocates nothing
    std::string reason_; // the first failure, "" when there is none; has room from the start
    int descriptor_ = -1;
    bool committed_ = false;
};

} // namespace corvalissement
