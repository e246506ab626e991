// What the tests of the server share: a folder of their own, a process of their own, the failure of a step.
#pragma once

#include "platform/failures.h"
#include "store/store.h"
#include "support/scratch.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace corvalissement {

using ScratchFolder = testing_support::Scratch;
using testing_support::bytes_of;
using testing_support::put_bytes;

// Runs `work` in a process of its own, which ends without any destructor but those of `work`.
inline pid_t start_process(const std::function<int()>& work) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(work());
    return child;
}

// The exit status, or minus the signal that ended it.
inline int end_of(pid_t process) {
    int status = 0;
    ::waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// The number of the failure of `step`, 0 when none came. A text that names nothing is a fault too.
template <class Step>
int failure_number(Step&& step, std::string* text = nullptr) {
    try {
        step();
    } catch (const StepFailure& failure) {
        if (text != nullptr) *text = failure.text();
        EXPECT_NE(failure.text(), "");
        return failure.number();
    }
    return 0;
}

using Records = std::map<std::string, std::string>;

inline Records records_of(Store& store, const std::string& file, const std::string& from = "") {
    Records records;
    store.scan(store.file(file), from, [&](std::string_view key, std::string_view record) {
        records.emplace(key, record);
        return true;
    });
    return records;
}

} // namespace corvalissement
