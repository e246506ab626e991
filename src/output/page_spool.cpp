#include "output/page_spool.h"

#include "files/output_file.h"

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <libdeflate.h>
#include <new>
#include <unistd.h>
#include <utility>

namespace corvalissement {

namespace {

constexpr std::size_t USUAL_PAGE = 64 * 1024; // bytes, to begin unpacking with
constexpr std::size_t LARGEST_PAGE = std::size_t{1} << 31U;

constexpr std::size_t BATCH_BYTES = 131072; // a dozen pages
constexpr std::size_t MOST_WAITING = 4;     // batches
constexpr int PAGE_LEVEL = 1;               // level 6 takes three times as long for a file a tenth smaller
constexpr mode_t OWNER_ONLY = 0600;

// A file that has no name. Where the file system cannot make one, the name is taken away at once.
int open_nameless(const std::string& folder) {
    const int direct = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, OWNER_ONLY);
    if (direct >= 0 || (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL)) return direct;
    std::string name = folder + "/.corvalissement-XXXXXX";
    const int named = ::mkostemp(name.data(), O_CLOEXEC);
    if (named >= 0) static_cast<void>(::unlink(name.c_str()));
    return named;
}

} // namespace

struct Compressor {
    explicit Compressor(int level) : state(libdeflate_alloc_compressor(level)) {
        if (state == nullptr) throw std::bad_alloc();
    }
    ~Compressor() { libdeflate_free_compressor(state); }
    Compressor(const Compressor&) = delete;
    Compressor& operator=(const Compressor&) = delete;

    // Compresses into `room`, which never shrinks; the result is valid until it is used again.
    std::string_view run(std::string_view bytes, std::string& room) {
        const std::size_t bound = libdeflate_zlib_compress_bound(state, bytes.size());
        if (room.size() < bound) room.resize(bound);
        return {room.data(),
                libdeflate_zlib_compress(state, bytes.data(), bytes.size(), room.data(), room.size())};
    }

    libdeflate_compressor* state;
};

std::string deflated(std::string_view bytes, int level) {
    Compressor compressor(level);
    std::string room;
    return std::string(compressor.run(bytes, room));
}

std::optional<std::string> inflated(std::string_view stream) {
    const std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> state(
        libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
    if (!state) throw std::bad_alloc();
    std::string bytes;
    for (std::size_t room = USUAL_PAGE; room <= LARGEST_PAGE; room *= 2) {
        bytes.resize(room);
        std::size_t length = 0;
        const auto result = libdeflate_zlib_decompress(state.get(), stream.data(), stream.size(),
                                                       bytes.data(), bytes.size(), &length);
        if (result == LIBDEFLATE_INSUFFICIENT_SPACE) continue;
        if (result != LIBDEFLATE_SUCCESS) return std::nullopt;
        bytes.resize(length);
        return bytes;
    }
    return std::nullopt;
}

PageSpool::PageSpool(const std::string& folder)
    : descriptor_(open_nameless(folder)), compressor_(std::make_unique<Compressor>(PAGE_LEVEL)) {
    if (descriptor_ < 0) fail(system_reason(errno));
    thread_ = std::thread([this] { work(); });
}

PageSpool::~PageSpool() {
    finish();
    if (descriptor_ >= 0) static_cast<void>(::close(descriptor_));
}

void PageSpool::add(std::string_view content) {
    batch_.contents.append(content);
    batch_.lengths.push_back(content.size());
    if (batch_.contents.size() >= BATCH_BYTES) hand_over();
}

void PageSpool::hand_over() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return waiting_.size() < MOST_WAITING; });
    waiting_.push_back(std::move(batch_));
    batch_ = Batch();
    changed_.notify_all();
}

void PageSpool::finish() {
    if (!thread_.joinable()) return;
    if (!batch_.lengths.empty()) hand_over();
    {
        const std::scoped_lock lock(mutex_);
        closed_ = true;
        changed_.notify_all();
    }
    thread_.join();
}

// Takes the batches as they come until the spool is closed and none is left. After a failure it only
// makes room, so that the printing thread never waits in vain.
void PageSpool::work() {
    while (true) {
        Batch batch;
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return closed_ || !waiting_.empty(); });
            if (waiting_.empty()) return;
            batch = std::move(waiting_.front());
            waiting_.pop_front();
            changed_.notify_all();
            if (!failure_.empty()) continue;
        }
        try {
            compress(batch);
        } catch (const std::exception& failure) {
            fail(failure.what());
        }
    }
}

void PageSpool::compress(const Batch& batch) {
    output_.clear();
    std::size_t from = 0;
    for (const std::size_t length : batch.lengths) {
        const std::string_view bytes =
            compressor_->run(std::string_view(batch.contents).substr(from, length), room_);
        pages_.push_back({end_ + output_.size(), static_cast<std::uint32_t>(bytes.size())});
        output_.append(bytes);
        from += length;
    }
    append(output_);
}

void PageSpool::append(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::pwrite(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(end_));
        if (written >= 0) {
            end_ += static_cast<std::uint64_t>(written);
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return fail(system_reason(errno));
        }
    }
}

std::string PageSpool::read(std::size_t page) {
    std::string bytes(pages_[page].length, '\0');
    for (std::size_t done = 0; done < bytes.size();) {
        const auto offset = static_cast<off_t>(pages_[page].offset + done);
        const ssize_t got = ::pread(descriptor_, bytes.data() + done, bytes.size() - done, offset);
        if (got > 0) {
            done += static_cast<std::size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            fail(got == 0 ? system_reason(EIO) : system_reason(errno));
            return {};
        }
    }
    return bytes;
}

std::string PageSpool::failure() const {
    const std::scoped_lock lock(mutex_);
    return failure_;
}

void PageSpool::fail(std::string reason) {
    const std::scoped_lock lock(mutex_);
    if (failure_.empty()) failure_ = std::move(reason);
}

} // namespace corvalissement
