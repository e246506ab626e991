// A folder for one test, and what the tests of the surfaces read back.
#pragma once

#include "platform/failures.h"
#include "support/scratch.h"

#include <csignal>
#include <cstddef>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <utility>

namespace corvalissement {

class Scratch : public testing::Test {
protected:
    [[nodiscard]] std::string path(const std::string& name) const { return folder_ / name; }
    [[nodiscard]] std::size_t entries() const { return folder_.entries(); }

private:
    testing_support::Scratch folder_;
};

inline std::string content_of(const std::string& path) { return testing_support::bytes_of(path); }
inline void put(const std::string& path, const std::string& content) {
    testing_support::put_bytes(path, content);
}

// Runs `step`, which must fail, and gives the failure back.
template <class Step>
StepFailure failure_of(Step&& step) {
    try {
        std::forward<Step>(step)();
    } catch (const StepFailure& failure) {
        return failure;
    }
    ADD_FAILURE() << "nothing failed";
    return {0, ""};
}

// While it lives, no file of this process can grow beyond `bytes`: a disk that is full.
class FullDisk {
public:
    explicit FullDisk(std::size_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit small{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit before_{};
    void (*handler_)(int);
};

} // namespace corvalissement
