// A FEC as bytes and lines: what can be known before a field is looked at.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace corvalissement {

enum class Charset { utf8, iso_8859_15, windows_1252 };

// An input that can be read several times from its start, in pieces. What is no regular file (a pipe, the
// standard input as "-") is first copied to a temporary file without a name. BadInput when it cannot be read.
class FecFile {
public:
    explicit FecFile(std::string path);

    [[nodiscard]] const std::string& path() const noexcept { return path_; }
    [[nodiscard]] std::uint64_t size() const noexcept { return size_; }

    void rewind();

    // Up to `room` bytes; 0 at the end.
    [[nodiscard]] std::size_t read(char* into, std::size_t room);

private:
    struct Close {
        void operator()(std::FILE* file) const noexcept { std::fclose(file); }
    };
    using Handle = std::unique_ptr<std::FILE, Close>;

    Handle spool(Handle source) const;

    std::string path_;
    Handle file_;
    std::uint64_t size_ = 0;
};

// What one pass over the bytes tells.
//   Characters: a UTF-8 mark means UTF-8; so does a file that is valid UTF-8 as a whole. Any other is
//   windows-1252 when it uses the bytes 0x80 to 0x9F, which ISO-8859-15 leaves to control characters, else
//   ISO-8859-15.
//   Lines end at each LF; in a file without any they end at each CR.
struct FecFacts {
    std::string fingerprint; // of the content, 32 hexadecimal digits
    Charset charset = Charset::utf8;
    bool marked = false; // starts with the UTF-8 mark
    bool sound = true;   // false: marked as UTF-8 and still not valid
    char line_end = '\n';
};

// BadInput, with the line, when the file holds a NUL byte. `progress` gets bytes done.
[[nodiscard]] FecFacts look_at(FecFile& file, const std::function<void(std::uint64_t bytes)>& progress);

// The lines of a file, without their ends (one or more CR before the LF belong to the end). A line of more
// than a megabyte is BadInput: memory stays bounded whatever the file.
class FecLines {
public:
    FecLines(FecFile& file, const FecFacts& facts);

    // False at the end. A view is good until the next call.
    [[nodiscard]] bool next(std::string_view& line);
    [[nodiscard]] std::uint64_t number() const noexcept { return number_; }
    [[nodiscard]] std::uint64_t bytes_done() const noexcept { return bytes_read_ - (end_ - at_); }

private:
    static constexpr std::size_t LONGEST_LINE = std::size_t{1} << 20U;

    bool refill();

    FecFile& file_;
    char line_end_;
    std::vector<char> buffer_;
    std::size_t at_ = 0;
    std::size_t end_ = 0;
    std::uint64_t number_ = 0;
    std::uint64_t bytes_read_ = 0;
};

// `text` in UTF-8.
void append_decoded(std::string& out, std::string_view text, Charset charset);

} // namespace corvalissement
