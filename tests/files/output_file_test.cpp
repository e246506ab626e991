#include "files/output_file.h"

#include "support/output_trial.h"

#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>

namespace corvalissement {
namespace {

using OutputFileTest = Scratch;

TEST_F(OutputFileTest, stands_under_its_name_only_when_committed) {
    put(path("a"), "before");
    {
        OutputFile abandoned(path("a"));
        abandoned.write("half");
        EXPECT_EQ(entries(), 1U) << "what is killed now leaves nothing";
    }
    EXPECT_EQ(content_of(path("a")), "before");

    OutputFile file(path("a"));
    file.write("new");
    EXPECT_EQ(content_of(path("a")), "before");
    file.commit();
    file.commit();
    EXPECT_EQ(content_of(path("a")), "new");
    EXPECT_EQ(entries(), 1U);
}

TEST_F(OutputFileTest, pieces_of_any_length_come_out_in_order) {
    OutputFile file(path("a"));
    std::string expected;
    for (const std::size_t length : {1UL, 65535UL, 1UL, 65536UL, 65537UL, 0UL, 200000UL, 3UL}) {
        expected += std::string(length, static_cast<char>('a' + length % 26));
        file.write(std::string_view(expected).substr(expected.size() - length));
    }
    file.commit();
    EXPECT_EQ(content_of(path("a")), expected);
}

TEST_F(OutputFileTest, replaces_what_a_link_points_to_and_keeps_its_permissions) {
    put(path("real"), "before");
    ::chmod(path("real").c_str(), 0640);
    std::filesystem::create_symlink("real", path("link"));
    OutputFile file(path("link"));
    file.write("new");
    file.commit();
    EXPECT_EQ(content_of(path("real")), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(path("link")));
    std::filesystem::create_symlink("later", path("early"));
    OutputFile made(path("early"));
    made.commit();
    EXPECT_TRUE(std::filesystem::is_symlink(path("early")));
    EXPECT_TRUE(std::filesystem::is_regular_file(path("later")));
    EXPECT_EQ(std::filesystem::status(path("real")).permissions(), std::filesystem::perms(0640));
}

TEST_F(OutputFileTest, never_takes_the_place_of_a_guarded_file_whatever_leads_to_it) {
    put(path("base"), "precious");
    std::filesystem::create_symlink("base", path("link"));
    std::filesystem::create_hard_link(path("base"), path("twin"));
    {
        const GuardedFile guard(path("base"));
        for (const char* name : {"base", "link", "twin", "./base"}) {
            OutputFile file(path(name));
            file.write("lost");
            EXPECT_EQ(failure_of([&] { file.commit(); }).number(), ERR_OUTPUT) << name;
        }
    }
    EXPECT_EQ(content_of(path("base")), "precious");
    EXPECT_EQ(entries(), 3U);
    OutputFile(path("base")).commit(); // free again
    EXPECT_EQ(content_of(path("base")), "");
}

TEST_F(OutputFileTest, clears_away_what_a_killed_run_has_left_and_nothing_else) {
    const auto aged = [&](const char* name) {
        put(path(name), "half");
        const timespec old[2] = {{std::time(nullptr) - 3600, 0}, {std::time(nullptr) - 3600, 0}};
        ::utimensat(AT_FDCWD, path(name).c_str(), old, 0);
    };
    put(path(".corvalissement-1-1.tmp"), "killed while it took its place");
    aged(".corvalissement-1-2.tmp0");
    put(path(".corvalissement-2-1.tmp"), "half");
    aged(".corvalissement-notes.txt");
    put(path(".corvalissement-3-1.tmp0"), "just made");
    const int other = ::open(path(".corvalissement-2-1.tmp").c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(other, LOCK_EX), 0); // somebody is writing it
    OutputFile(path("a")).commit();
    for (const char* gone : {".corvalissement-1-1.tmp", ".corvalissement-1-2.tmp0"})
        EXPECT_FALSE(std::filesystem::exists(path(gone))) << gone;
    EXPECT_EQ(entries(), 4U);
    ::close(other);
}

TEST_F(OutputFileTest, a_stopped_run_takes_its_unfinished_file_with_it) {
    const pid_t child = ::fork();
    if (child == 0) {
        OutputFile file(path("a"));
        file.write("half");
        remove_unfinished_files();
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(entries(), 0U);
}

TEST_F(OutputFileTest, tells_why_it_cannot_be_written) {
    put(path("file"), "");
    const struct {
        std::string path;
        std::string reason;
    } cases[] = {
        {"", "aucun nom de fichier n'est donné"},
        {path("missing/a"), system_reason(ENOENT)},
        {path("file/a"), system_reason(ENOTDIR)},
        {path(""), system_reason(EISDIR)},
        {path(std::string(300, 'a')), system_reason(ENAMETOOLONG)},
        {"/dev/full", system_reason(ENOSPC)},
    };
    for (const auto& expected : cases) {
        OutputFile file(expected.path);
        file.write("x");
        const StepFailure failure = failure_of([&] { file.commit(); });
        EXPECT_EQ(failure.number(), ERR_OUTPUT) << expected.path;
        EXPECT_EQ(failure.text(), expected.path + " : " + expected.reason);
        EXPECT_EQ(failure.record(), expected.path);
    }
    EXPECT_EQ(entries(), 1U);
}

TEST_F(OutputFileTest, a_full_disk_leaves_what_was_there) {
    put(path("a"), "before");
    for (const std::size_t room : {0UL, 1UL, 70000UL, 199999UL}) {
        OutputFile file(path("a"));
        const FullDisk full(room);
        for (int i = 0; i < 200; ++i)
            file.write(std::string(1000, 'x'));
        EXPECT_EQ(failure_of([&] { file.commit(); }).text(), path("a") + " : " + system_reason(EFBIG))
            << room;
        EXPECT_EQ(content_of(path("a")), "before");
        EXPECT_EQ(entries(), 1U);
    }
}

TEST_F(OutputFileTest, a_pipe_is_written_to_directly) {
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    std::string read;
    std::thread reader([&] { read = content_of(path("pipe")); });
    OutputFile file(path("pipe"));
    file.write("through");
    file.commit();
    reader.join();
    EXPECT_EQ(read, "through");
    EXPECT_TRUE(std::filesystem::is_fifo(path("pipe")));
}

} // namespace
} // namespace corvalissement
