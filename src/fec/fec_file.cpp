#include "fec/fec_file.h"

#include "platform/text.h"
#include "records/bad_input.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace corvalissement {

namespace {

constexpr std::size_t PIECE = std::size_t{1} << 18U;

std::string reason_of_errno() {
    switch (errno) {
    case ENOENT:
    case ENOTDIR:
        return "fichier introuvable";
    case EACCES:
    case EPERM:
        return "accès refusé";
    case ENOSPC:
        return "disque plein";
    default:
        return "erreur " + std::to_string(errno) + " du système";
    }
}

// A 128-bit hash of a stream of bytes: two lanes that each take every word. Not made to withstand someone
// who wants two files to look alike, only chance.
class Fingerprint {
public:
    void add(const char* bytes, std::size_t count) {
        length_ += count;
        while (count > 0) {
            if (filled_ == 0 && count >= 8) {
                take(bytes);
                bytes += 8;
                count -= 8;
                continue;
            }
            word_[filled_++] = *bytes++;
            --count;
            if (filled_ == 8) {
                take(word_.data());
                filled_ = 0;
            }
        }
    }

    std::string hex() {
        while (filled_ != 0)
            add("", 1);
        std::string text;
        for (const std::uint64_t lane : {mixed(a_ ^ length_), mixed(b_ + length_)})
            for (unsigned shift = 64; shift > 0; shift -= 4)
                text.push_back("0123456789abcdef"[(lane >> (shift - 4U)) & 15U]);
        return text;
    }

private:
    static std::uint64_t mixed(std::uint64_t z) {
        z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
        z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
        return z ^ (z >> 31U);
    }

    void take(const char* bytes) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes, sizeof word);
        if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
        a_ = std::rotl((a_ ^ word) * 0x9E3779B97F4A7C15U, 31);
        b_ = mixed(b_ + word);
    }

    std::uint64_t a_ = 0x243F6A8885A308D3U;
    std::uint64_t b_ = 0x13198A2E03707344U;
    std::uint64_t length_ = 0;
    std::array<char, 8> word_{};
    std::size_t filled_ = 0;
};

// Where the first byte that is not ASCII stands, from `at` on.
std::size_t find_wide(std::string_view text, std::size_t at) {
    for (; at + 8 <= text.size(); at += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + at, sizeof word);
        if ((word & 0x8080808080808080U) != 0) break;
    }
    while (at < text.size() && static_cast<unsigned char>(text[at]) < 0x80U)
        ++at;
    return at;
}

// Checks a stream for UTF-8, piece by piece. A character never has an ASCII byte in it, so each run of other
// bytes is checked on its own; the run at the end of a piece waits for the next one.
class Utf8Check {
public:
    void add(std::string_view text) {
        for (std::size_t at = run_.empty() ? find_wide(text, 0) : 0; valid_ && at < text.size();) {
            std::size_t end = at;
            while (end < text.size() && static_cast<unsigned char>(text[end]) >= 0x80U)
                ++end;
            run_.append(text.substr(at, end - at));
            // A long run is checked from time to time, lest it fill the memory.
            if (end == text.size() && run_.size() < LONGEST_RUN) return;
            valid_ = is_utf8(run_);
            run_.clear();
            at = find_wide(text, end);
        }
    }
    [[nodiscard]] bool valid() const { return valid_ && is_utf8(run_); }

private:
    static constexpr std::size_t LONGEST_RUN = std::size_t{1} << 22U;
    bool valid_ = true;
    std::string run_;
};

// The bytes that tell windows-1252 from ISO-8859-15.
bool uses_c1_bytes(FecFile& file) {
    file.rewind();
    std::vector<char> piece(PIECE);
    while (const std::size_t count = file.read(piece.data(), piece.size())) {
        const auto end = piece.begin() + static_cast<std::ptrdiff_t>(count);
        if (std::any_of(piece.begin(), end,
                        [](char c) { return (static_cast<unsigned char>(c) & 0xE0U) == 0x80U; }))
            return true;
    }
    return false;
}

[[noreturn]] void refuse_nul(FecFile& file) {
    file.rewind();
    std::uint64_t line = 1;
    std::vector<char> piece(PIECE);
    while (const std::size_t count = file.read(piece.data(), piece.size())) {
        const std::string_view text = std::string_view(piece.data(), count);
        const std::string_view before = text.substr(0, text.find('\0'));
        line += static_cast<std::uint64_t>(std::count(before.begin(), before.end(), '\n'));
        if (before.size() < text.size()) break;
    }
    throw BadInput(file.path(), line, "octet nul");
}

// Unicode characters of the bytes 0x80 to 0x9F in windows-1252; the five bytes it leaves open keep their
// number and are treated as the control characters they then are.
constexpr char16_t WINDOWS_1252[] = {0x20AC, 0x81,   0x201A, 0x192,  0x201E, 0x2026, 0x2020, 0x2021,
                                     0x2C6,  0x2030, 0x160,  0x2039, 0x152,  0x8D,   0x17D,  0x8F,
                                     0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                     0x2DC,  0x2122, 0x161,  0x203A, 0x153,  0x9D,   0x17E,  0x178};

char32_t latin_9(unsigned char byte) {
    switch (byte) {
    case 0xA4:
        return 0x20AC;
    case 0xA6:
        return 0x160;
    case 0xA8:
        return 0x161;
    case 0xB4:
        return 0x17D;
    case 0xB8:
        return 0x17E;
    case 0xBC:
        return 0x152;
    case 0xBD:
        return 0x153;
    case 0xBE:
        return 0x178;
    default:
        return byte;
    }
}

} // namespace

FecFile::FecFile(std::string path) : path_(std::move(path)) {
    std::error_code error;
    if (path_ == "-") {
        // The standard input belongs to the process, so a handle of its own is closed here.
        file_ = Handle(std::fopen("/dev/stdin", "rb"));
    } else {
        if (std::filesystem::is_directory(path_, error)) throw BadInput(path_, 0, "c'est un dossier");
        file_ = Handle(std::fopen(path_.c_str(), "rb"));
    }
    if (!file_) throw BadInput(path_, 0, "lecture impossible (" + reason_of_errno() + ")");
    if (path_ == "-" || !std::filesystem::is_regular_file(path_, error)) file_ = spool(std::move(file_));
    if (std::fseek(file_.get(), 0, SEEK_END) != 0)
        throw BadInput(path_, 0, "lecture impossible (" + reason_of_errno() + ")");
    size_ = static_cast<std::uint64_t>(std::max(std::ftell(file_.get()), 0L));
    rewind();
}

FecFile::Handle FecFile::spool(Handle source) const {
    Handle copy(std::tmpfile());
    if (!copy) throw StepFailure(ERR_OTHER, "pas de fichier temporaire (" + reason_of_errno() + ")");
    std::vector<char> piece(PIECE);
    while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), source.get())) {
        if (std::fwrite(piece.data(), 1, count, copy.get()) != count)
            throw StepFailure(ERR_OTHER, "le fichier temporaire est plein (" + reason_of_errno() + ")");
    }
    if (std::ferror(source.get()) != 0) throw BadInput(path_, 0, "lecture impossible");
    return copy;
}

void FecFile::rewind() {
    if (std::fseek(file_.get(), 0, SEEK_SET) != 0) throw BadInput(path_, 0, "lecture impossible");
}

std::size_t FecFile::read(char* into, std::size_t room) {
    const std::size_t count = std::fread(into, 1, room, file_.get());
    if (count == 0 && std::ferror(file_.get()) != 0)
        throw BadInput(path_, 0, "lecture impossible (" + reason_of_errno() + ")");
    return count;
}

FecFacts look_at(FecFile& file, const std::function<void(std::uint64_t bytes)>& progress) {
    file.rewind();
    FecFacts facts;
    Fingerprint fingerprint;
    Utf8Check utf8;
    bool feeds = false;
    bool returns = false;
    std::uint64_t done = 0;
    std::vector<char> piece(PIECE);
    while (const std::size_t count = file.read(piece.data(), piece.size())) {
        const std::string_view text(piece.data(), count);
        if (done == 0 && (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")))
            throw BadInput(file.path(), 1,
                           "le fichier est en UTF-16 ; il doit être en UTF-8, ISO-8859-15 ou windows-1252");
        if (done == 0) facts.marked = text.starts_with("\xEF\xBB\xBF");
        if (text.find('\0') != std::string_view::npos) refuse_nul(file);
        feeds = feeds || text.find('\n') != std::string_view::npos;
        returns = returns || text.find('\r') != std::string_view::npos;
        utf8.add(text);
        fingerprint.add(text.data(), text.size());
        done += count;
        progress(done);
    }
    facts.fingerprint = fingerprint.hex();
    facts.sound = utf8.valid();
    if (!facts.marked && !facts.sound)
        facts.charset = uses_c1_bytes(file) ? Charset::windows_1252 : Charset::iso_8859_15;
    if (!feeds && returns) facts.line_end = '\r';
    return facts;
}

FecLines::FecLines(FecFile& file, const FecFacts& facts)
    : file_(file), line_end_(facts.line_end), buffer_(LONGEST_LINE + PIECE) {
    file_.rewind();
    if (!facts.marked) return;
    while (end_ < 3 && refill()) {
    }
    at_ = std::min<std::size_t>(3, end_);
}

bool FecLines::refill() {
    if (at_ > 0) {
        std::memmove(buffer_.data(), buffer_.data() + at_, end_ - at_);
        end_ -= at_;
        at_ = 0;
    }
    const std::size_t count = file_.read(buffer_.data() + end_, buffer_.size() - end_);
    end_ += count;
    bytes_read_ += count;
    return count > 0;
}

bool FecLines::next(std::string_view& line) {
    ++number_;
    std::size_t looked = 0;
    while (true) {
        const std::string_view rest(buffer_.data() + at_, end_ - at_);
        const std::size_t found = rest.find(line_end_, looked);
        if (std::min(found, rest.size()) > LONGEST_LINE)
            throw BadInput(file_.path(), number_, "ligne de plus d'un mégaoctet");
        if (found == std::string_view::npos) {
            looked = rest.size();
            if (refill()) continue;
            line = std::string_view(buffer_.data() + at_, end_ - at_);
            at_ = end_;
            if (line.empty()) return false;
        } else {
            line = rest.substr(0, found);
            at_ += found + 1;
        }
        while (line.ends_with('\r'))
            line.remove_suffix(1);
        return true;
    }
}

void append_decoded(std::string& out, std::string_view text, Charset charset) {
    if (charset == Charset::utf8) {
        out.append(text);
        return;
    }
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80U) {
            out.push_back(c);
        } else if (charset == Charset::windows_1252) {
            append_char(out, byte < 0xA0U ? WINDOWS_1252[byte - 0x80U] : byte);
        } else {
            append_char(out, latin_9(byte));
        }
    }
}

} // namespace corvalissement
