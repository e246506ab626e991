// A folder for one test, and what the tests of the surfaces read back.
#pragma once

#include "platform/failures.h"

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <utility>

namespace corvalissement {

class Scratch : public testing::Test {
protected:
    Scratch() {
        std::string name = (std::filesystem::temp_directory_path() / "output_test_XXXXXX").string();
        if (::mkdtemp(name.data()) != nullptr) folder_ = name;
    }
    ~Scratch() override { std::filesystem::remove_all(folder_); }

    [[nodiscard]] std::string path(const std::string& name) const { return (folder_ / name).string(); }

    // Number of things in the folder, hidden ones included.
    [[nodiscard]] long entries() const {
        return std::distance(std::filesystem::directory_iterator(folder_),
                             std::filesystem::directory_iterator());
    }

private:
    std::filesystem::path folder_;
};

inline std::string content_of(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline void put(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
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
