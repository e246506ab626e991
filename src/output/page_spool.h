// Where the pages of a document wait, compressed, until the document is put together: a file without a
// name, which the system frees when the process ends, however it ends. A thread of its own compresses while
// the next pages are printed; few wait for it, so that memory stays small. The pages come out in the
// order in which they went in and with the same bytes, whatever the timing of the thread.
//
// To be used by one thread. Failures are kept and told by `failure`, never thrown from add or read.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace corvalissement {

// `bytes` as a zlib stream. `level` 1 (quick) to 12 (small).
[[nodiscard]] std::string deflated(std::string_view bytes, int level);

// What such a stream holds, or nothing when it is none.
[[nodiscard]] std::optional<std::string> inflated(std::string_view stream);

struct Compressor;

class PageSpool {
public:
    // `folder` takes the file; it needs the room of the document. Throws what the standard library throws
    // when there is no memory or no thread to be had.
    explicit PageSpool(const std::string& folder);
    ~PageSpool();
    PageSpool(const PageSpool&) = delete;
    PageSpool& operator=(const PageSpool&) = delete;

    void add(std::string_view content);

    // Waits until every page added is in the file; nothing can be added behind this.
    void finish();

    // REQUIRES finish. Number of pages, and the compressed content of one (from 0); "" after a failure.
    [[nodiscard]] std::size_t size() const noexcept { return pages_.size(); }
    [[nodiscard]] std::string read(std::size_t page);

    // What went wrong first, in French; "" when nothing did.
    [[nodiscard]] std::string failure() const;

private:
    struct Extent {
        std::uint64_t offset;
        std::uint32_t length;
    };

    // Pages handed over together, so that the two threads seldom wait for each other.
    struct Batch {
        std::string contents;             // one behind the other
        std::vector<std::size_t> lengths; // of each
    };

    void hand_over();
    void work();
    void compress(const Batch& batch);
    void append(std::string_view bytes);
    void fail(std::string reason);

    int descriptor_ = -1;
    Batch batch_;               // what the printing thread has not handed over yet
    std::vector<Extent> pages_; // touched by the compressing thread alone until finish
    std::uint64_t end_ = 0;
    std::string room_;   // of the compressing thread: one page
    std::string output_; // of the compressing thread: one batch
    std::unique_ptr<Compressor> compressor_;

    mutable std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    std::deque<Batch> waiting_;
    std::string failure_;
    bool closed_ = false;

    std::thread thread_;
};

} // namespace corvalissement
