// What the file of a base has to stand: other files in its place, damage, full disks, kills, other
// processes.
#include "store/page_guard.h"
#include "support/store_trial.h"

#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <random>
#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/stat.h>

// The calls that bring a base to the disk, the library's and ours. Each passes, but for the one that
// `until_failure` counts down to.
namespace {
long until_failure = 0;

template <class Call, class... Arguments>
auto call(const char* name, Arguments... arguments) {
    if (until_failure > 0 && --until_failure == 0) {
        errno = EIO;
        return decltype(std::declval<Call>()(arguments...))(-1);
    }
    return reinterpret_cast<Call>(::dlsym(RTLD_NEXT, name))(arguments...);
}
} // namespace

extern "C" {
ssize_t pwrite64(int file, const void* bytes, size_t count, off64_t at) {
    return call<ssize_t (*)(int, const void*, size_t, off64_t)>("pwrite64", file, bytes, count, at);
}
int fdatasync(int file) { return call<int (*)(int)>("fdatasync", file); }
int fsync(int file) { return call<int (*)(int)>("fsync", file); }
int ftruncate64(int file, off64_t size) noexcept {
    return call<int (*)(int, off64_t)>("ftruncate64", file, size);
}
int renameat2(int from, const char* old, int to, const char* name, unsigned flags) noexcept {
    return call<int (*)(int, const char*, int, const char*, unsigned)>("renameat2", from, old, to, name,
                                                                       flags);
}
}

namespace corvalissement {
namespace {

std::unique_ptr<Store> open(const std::string& path, OpenMode mode = OpenMode::must_exist) {
    return open_embedded_store(path, mode, 200);
}

std::string record_of(std::size_t i) {
    return std::string(1 + i * 37 % 3'000, static_cast<char>('a' + i % 26));
}

// A base of small and of large records, over enough pages that every kind of page is there.
Records make_base(const std::string& path) {
    const auto store = open(path, OpenMode::create);
    Records records;
    Transaction whole(*store);
    for (std::size_t i = 0; i < 150; ++i) {
        const std::string key = "N0001" + std::to_string(4'000'000'000 + i * 7);
        records[key] = record_of(i) + (i % 10 == 0 ? std::string(9'000, 'z') : "");
        store->write(store->file("BALANCEGENE"), key, records[key]);
        store->write(store->file("TEMPO"), key, records[key]);
    }
    whole.commit();
    return records;
}

TEST(EmbeddedBase, a_new_base_appears_when_it_is_filled_and_a_failure_leaves_none) {
    const ScratchFolder folder;
    const std::string path = folder / "neuve";
    EXPECT_THROW(fill_embedded_store(path,
                                     [&](Store& store) {
                                         store.write(store.file("F"), "k", "v");
                                         EXPECT_FALSE(std::filesystem::exists(path));
                                         throw StepFailure(ERR_OTHER, "refus");
                                     }),
                 StepFailure);
    EXPECT_EQ(folder.entries(), 0U);
    // What a kill has left aside is no hindrance, and a base that came to stand there meanwhile is kept.
    for (const char* left : {".creation-verrou", ".creation", ".creation-journal"})
        put_bytes(path + left, left[sizeof ".creation" - 1] == '-' ? "" : "half a base");
    fill_embedded_store(path, [](Store& store) { store.write(store.file("F"), "k", "v"); });
    EXPECT_EQ(folder.entries(), 1U);
    const std::string whole = bytes_of(path);
    std::filesystem::remove(path);
    EXPECT_EQ(failure_number([&] { fill_embedded_store(path, [&](Store&) { put_bytes(path, whole); }); }),
              ERR_STORE);
    EXPECT_EQ(bytes_of(path), whole);
    EXPECT_EQ(folder.entries(), 1U);
    std::string record;
    const auto store = open(path);
    EXPECT_TRUE(store->read(store->file("F"), "k", record));
}

// Whatever the reason: a disk that is full or broken.
TEST(EmbeddedBase, a_call_that_fails_leaves_a_whole_base_or_the_old_state) {
    const ScratchFolder folder;
    const std::string path = folder / "base";
    const Records old{{"k", "old"}};
    const Records both{{"a", std::string(20'000, 'a')}, {"b", std::string(20'000, 'b')}, {"k", "old"}};
    const auto fill = [&](const Records& records) {
        fill_embedded_store(path, [&](Store& store) {
            Transaction whole(store);
            for (const auto& [key, record] : records)
                store.write(store.file("TEMPO"), key, record);
            whole.commit();
        });
    };
    fill(old);
    const std::string before = bytes_of(path);
    for (const bool standing : {false, true}) {
        int failures = 0;
        for (long nth = 1, left = 0; left == 0; ++nth) {
            std::filesystem::remove(path);
            if (standing) put_bytes(path, before);
            until_failure = nth;
            const int number = failure_number([&] { fill(both); });
            left = until_failure;
            until_failure = 0;
            ASSERT_TRUE(number == 0 || number == ERR_STORE) << number;
            failures += number == 0 ? 0 : 1;
            if (!standing) {
                ASSERT_EQ(folder.entries(), number == 0 ? 1U : 0U) << "call " << nth;
            }
            if (number == 0 || standing) {
                ASSERT_EQ(records_of(*open(path), "TEMPO"), number == 0 ? both : old) << "call " << nth;
            }
        }
        EXPECT_GT(failures, 10); // the calls are seen
    }
}

TEST(EmbeddedBase, a_path_is_a_path) {
    const ScratchFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    for (const std::string name : {":memory:", "file:x?mode=memory", " a ", "./b", "-c", "file:%41"}) {
        fill_embedded_store(name, [](Store& store) { store.write(store.file("F"), "k", "v"); });
        EXPECT_EQ(records_of(*open(name), "F"), (Records{{"k", "v"}})) << name;
        EXPECT_TRUE(std::filesystem::remove(folder / name)) << name;
        EXPECT_EQ(folder.entries(), 0U) << name;
    }
    std::filesystem::current_path(before);
}

TEST(EmbeddedBase, what_a_base_brings_of_its_own_is_refused) {
    const ScratchFolder folder;
    const char* const cases[] = {
        "",
        "CREATE TRIGGER t AFTER INSERT ON f1 BEGIN DELETE FROM f2; END",
        "CREATE INDEX i ON f1(texte)",
        "ALTER TABLE f1 RENAME TO g; CREATE VIEW f1(cle,texte) AS WITH RECURSIVE r(n) AS "
        "(SELECT 1 UNION ALL SELECT n+1 FROM r) SELECT CAST(n AS BLOB),x'41' FROM r",
        "ALTER TABLE fichiers RENAME TO g; CREATE VIEW fichiers(numero,nom) AS SELECT * FROM g",
        "PRAGMA writable_schema=ON; UPDATE sqlite_schema SET rootpage=4 WHERE name='f2'",
        "DROP TABLE f2; CREATE TABLE f2(cle BLOB PRIMARY KEY, texte BLOB AS (cle)) WITHOUT ROWID",
        "INSERT INTO fichiers VALUES(9,x'41')"};
    for (const char* own : cases) {
        const std::string path = folder / "base";
        std::filesystem::remove(path);
        fill_embedded_store(path, [](Store& store) {
            for (const char* file : {"TEMPO", "JOURNAL"})
                store.write(store.file(file), "k", "v");
        });
        sqlite3* forger = nullptr; // through the guard, so that every page proves itself
        ASSERT_EQ(sqlite3_open_v2(path.c_str(), &forger, SQLITE_OPEN_READWRITE, page_guard()), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(forger, own, nullptr, nullptr, nullptr), SQLITE_OK) << own;
        sqlite3_close(forger);
        std::string text;
        const int number = failure_number([&] { open(path); }, &text);
        EXPECT_EQ(number, *own == '\0' ? 0 : ERR_STORE) << own;
        EXPECT_TRUE(*own == '\0' || text.find("autre chose") != std::string::npos) << own << text;
    }
}

TEST(EmbeddedBase, links_laid_beforehand_are_neither_followed_nor_changed) {
    const ScratchFolder folder;
    const std::string victim = folder / "autre";
    const std::string base = folder / "base";
    const std::string second = folder / "second";
    for (const char* beside :
         {".creation", ".creation-verrou", ".creation-journal", "-verrous", "-wal", "-shm"})
        for (const bool hard : {false, true})
            for (const bool standing : {false, true}) {
                put_bytes(victim, "not a base");
                ::chmod(victim.c_str(), 0600);
                if (standing) make_base(base);
                ASSERT_EQ((hard ? ::link : ::symlink)(victim.c_str(), (base + beside).c_str()), 0);
                static_cast<void>(failure_number([&] {
                    fill_embedded_store(base, [](Store& store) {
                        store.write(store.file("TEMPO"), "k", "v");
                        static_cast<void>(store.lock("TEMPO", "k"));
                    });
                    static_cast<void>(open(base)->lock("TEMPO", "k"));
                }));
                struct stat facts {};
                ASSERT_EQ(::stat(victim.c_str(), &facts), 0);
                EXPECT_TRUE(bytes_of(victim) == "not a base") << beside << hard << standing;
                EXPECT_EQ(facts.st_mode & 0777U, 0600U) << beside << hard << standing;
                for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
                    std::filesystem::remove(entry);
            }
    // Each name of a base would have a log of its own.
    make_base(base);
    std::filesystem::create_hard_link(base, second);
    for (const std::string& name : {base, second})
        EXPECT_EQ(failure_number([&] { fill_embedded_store(name, [](Store&) {}); }), ERR_STORE);
    // Those who may write the base may lock its records, whatever mask the first of them had.
    std::filesystem::remove(second);
    ::chmod(base.c_str(), 0660);
    const mode_t mask = ::umask(0077);
    EXPECT_TRUE(open(base)->lock("TEMPO", "k"));
    ::umask(mask);
    struct stat facts {};
    EXPECT_EQ(::stat((base + "-verrous").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777U, 0660U);
}

TEST(EmbeddedBase, what_is_no_base_is_refused_by_name_and_left_alone) {
    const ScratchFolder folder;
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open((folder / "autre").c_str(), &other), SQLITE_OK);
    sqlite3_exec(other, "CREATE TABLE t(a)", nullptr, nullptr, nullptr);
    sqlite3_close(other);
    put_bytes(folder / "texte", std::string(5'000, 'x'));
    put_bytes(folder / "court", "SQLite format 3");
    put_bytes(folder / "vide", "");
    std::filesystem::create_directory(folder / "dossier");
    const std::pair<const char*, OpenMode> cases[] = {
        {"autre", OpenMode::create},   {"texte", OpenMode::create},    {"court", OpenMode::create},
        {"dossier", OpenMode::create}, {"vide", OpenMode::must_exist}, {"absent", OpenMode::must_exist},
        {"absent/b", OpenMode::create}};
    for (const auto& [name, mode] : cases) {
        const std::string path = folder / name;
        const std::string before = std::filesystem::is_regular_file(path) ? bytes_of(path) : "";
        std::string text;
        EXPECT_EQ(failure_number([&] { open(path, mode); }, &text), ERR_STORE) << name;
        EXPECT_TRUE(text.starts_with(path + " : ")) << text;
        EXPECT_EQ(std::filesystem::is_regular_file(path) ? bytes_of(path) : "", before) << name;
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "absent"));
    const auto store = open(folder / "vide", OpenMode::create); // an empty file is a place for a new base
    store->write(store->file("A"), "k", "r");
    EXPECT_EQ(records_of(*open(folder / "vide"), "A"), (Records{{"k", "r"}}));
}

// Reads everything there is. Data that differ are a fault; a refusal with a clear line is right.
bool right_or_refused(const std::string& path, const Records& expected, bool writing) {
    bool right = true;
    const int number = failure_number([&] {
        const auto store = open(path);
        const auto change = writing ? std::make_unique<Transaction>(*store) : nullptr;
        for (const char* file : {"BALANCEGENE", "TEMPO"}) {
            right = right && records_of(*store, file) == expected;
            std::size_t keys = 0;
            store->scan_keys(store->file(file), "", [&](std::string_view key) {
                keys += expected.contains(std::string(key)) ? 1U : 0U;
                return true;
            });
            right = right && keys == expected.size();
            std::string record;
            for (const auto& [key, text] : expected)
                right = right && store->read(store->file(file), key, record) && record == text;
        }
    });
    return number == ERR_STORE || (number == 0 && right);
}

TEST(EmbeddedBase, a_damaged_file_gives_the_right_records_or_a_refusal) {
    const ScratchFolder folder;
    const Records expected = make_base(folder / "base");
    const std::string sound = bytes_of(folder / "base");
    ASSERT_GT(sound.size(), 100 * GUARDED_PAGE);
    std::mt19937 random(3);
    for (int round = 0; round < 400; ++round) {
        std::string damaged = sound;
        switch (round % 4) {
        case 0:
            damaged.resize(random() % sound.size());
            break; // cut short
        case 1:    // a block of the disk lost
            std::memset(damaged.data() + random() % (sound.size() / 512) * 512, 0, 512);
            break;
        case 2: // a whole page lost, or taken from another place
            std::memcpy(damaged.data() + random() % (sound.size() / GUARDED_PAGE) * GUARDED_PAGE,
                        random() % 2 == 0
                            ? std::string(GUARDED_PAGE, '\0').data()
                            : sound.data() + random() % (sound.size() / GUARDED_PAGE) * GUARDED_PAGE,
                        GUARDED_PAGE);
            break;
        default: // one byte, half the time in the first page
            damaged[random() % (round % 8 == 3 ? GUARDED_PAGE : sound.size())] ^=
                static_cast<char>(1 + random() % 255);
        }
        put_bytes(folder / "essai", damaged);
        ASSERT_TRUE(right_or_refused(folder / "essai", expected, round % 3 == 0)) << "round " << round;
    }
    put_bytes(folder / "essai", sound);
    EXPECT_EQ(failure_number([&] { records_of(*open(folder / "essai"), "TEMPO"); }), 0);
}

TEST(EmbeddedBase, a_change_may_take_again_what_it_gave_back) {
    const ScratchFolder folder;
    make_base(folder / "base");
    for (const char* name : {"base", "neuve"}) { // more than the library keeps in memory
        fill_embedded_store(folder / name, [](Store& store) {
            Transaction whole(store);
            const FileId file = store.file("NOUVEAU");
            for (int round = 0; round < 3; ++round) {
                store.clear(file);
                for (int i = 0; i < 400; ++i)
                    store.write(file, std::to_string(i), std::string(12'000, static_cast<char>('a' + round)));
            }
            whole.commit();
        });
        const Records left = records_of(*open(folder / name), "NOUVEAU");
        ASSERT_EQ(left.size(), 400U);
        for (const auto& [key, record] : left)
            ASSERT_EQ(record, std::string(12'000, 'c')) << key;
    }
}

TEST(EmbeddedBase, a_base_held_by_another_is_told_so) {
    const ScratchFolder folder;
    const auto holder = open(folder / "base", OpenMode::create);
    const auto other = open(folder / "base");
    holder->begin();
    holder->write(holder->file("TEMPO"), "k", "1");
    std::string text;
    EXPECT_EQ(failure_number([&] { other->write(other->file("TEMPO"), "k", "2"); }, &text), ERR_STORE);
    EXPECT_NE(text.find("tenue par un autre utilisateur"), std::string::npos) << text;
    EXPECT_EQ(records_of(*other, "TEMPO"), Records());
    holder->commit();
    other->write(other->file("TEMPO"), "k", "2");
    EXPECT_EQ(records_of(*holder, "TEMPO"), (Records{{"k", "2"}}));
}

TEST(EmbeddedBase, a_base_that_may_only_be_read_is_read) {
    const ScratchFolder folder;
    const Records expected = make_base(folder / "base é%?");
    ::chmod((folder / "base é%?").c_str(), 0444);
    ::chmod(folder.path().c_str(), 0555);
    const int status = end_of(start_process([&] {
        if (::geteuid() == 0 && ::setuid(65'534) != 0) return 9; // the superuser may write anything
        const auto store = open(folder / "base é%?");
        if (records_of(*store, "BALANCEGENE") != expected) return 1;
        if (failure_number([&] { store->write(store->file("TEMPO"), "k", "1"); }) != ERR_STORE) return 2;
        if (failure_number([&] { static_cast<void>(store->lock("TEMPO", "k")); }) != ERR_STORE) return 3;
        return failure_number([&] { open(folder / "neuf", OpenMode::create); }) == ERR_STORE ? 0 : 4;
    }));
    ::chmod(folder.path().c_str(), 0755);
    EXPECT_EQ(status, 0);
}

// A number that processes share.
struct Shared {
    Shared()
        : at(static_cast<long*>(
              ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
    ~Shared() { ::munmap(at, 4096); }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;
    long* at;
};

TEST(EmbeddedBase, a_kill_tears_no_transaction_and_loses_no_acknowledged_one) {
    const ScratchFolder folder;
    make_base(folder / "base");
    const Shared acknowledged;
    std::mt19937 random(4);
    for (int round = 0; round < 25; ++round) {
        const pid_t writer = start_process([&] {
            const auto store = open(folder / "base");
            for (long n = __atomic_load_n(acknowledged.at, __ATOMIC_SEQ_CST) + 1;; ++n) {
                Transaction whole(*store);
                for (const char* key : {"a", "b", "c"})
                    store->write(store->file("COMPTE"), key, std::to_string(n) + std::string(5'000, '.'));
                whole.commit();
                __atomic_store_n(acknowledged.at, n, __ATOMIC_SEQ_CST);
            }
            return 0;
        });
        const long from = __atomic_load_n(acknowledged.at, __ATOMIC_SEQ_CST);
        const long until = from + static_cast<long>(random() % 20);
        while (__atomic_load_n(acknowledged.at, __ATOMIC_SEQ_CST) <= until) {
            // A reader beside the writer sees whole transactions only.
            const auto reader = open(folder / "base");
            const Records seen = records_of(*reader, "COMPTE");
            for (const auto& [key, record] : seen)
                ASSERT_EQ(record, seen.begin()->second);
        }
        ::kill(writer, SIGKILL);
        ASSERT_EQ(end_of(writer), -SIGKILL);
        const Records left = records_of(*open(folder / "base"), "COMPTE");
        ASSERT_EQ(left.size(), 3U);
        for (const auto& [key, record] : left)
            ASSERT_EQ(record, left.begin()->second) << key;
        const long found = std::stol(left.begin()->second);
        ASSERT_GE(found, *acknowledged.at);
        ASSERT_LE(found, *acknowledged.at + 1);
        *acknowledged.at = found;
    }
}

TEST(EmbeddedBase, two_processes_never_hold_one_lock_and_a_dead_one_holds_none) {
    const ScratchFolder folder;
    open(folder / "base", OpenMode::create);
    ASSERT_EQ(::symlink((folder / "base").c_str(), (folder / "lien").c_str()), 0);
    const Shared inside;
    const auto contend = [&](const std::string& path) {
        return start_process([&inside, &path] {
            for (int taken = 0; taken < 2'000;) {
                const auto store = open(path); // no other way than the lock between the two
                for (int i = 0; i < 200; ++i) {
                    if (!store->lock("TEMPO", "k")) continue;
                    if (__atomic_fetch_add(inside.at, 1, __ATOMIC_SEQ_CST) != 0) return 1;
                    __atomic_fetch_sub(inside.at, 1, __ATOMIC_SEQ_CST);
                    store->unlock("TEMPO", "k");
                    ++taken;
                }
            }
            return 0;
        });
    };
    const std::string direct = folder / "base";
    const std::string linked = folder / "lien";
    const pid_t first = contend(direct);
    const pid_t second = contend(linked);
    EXPECT_EQ(end_of(first), 0);
    EXPECT_EQ(end_of(second), 0);

    const pid_t holder = start_process([&] {
        const auto store = open(direct);
        __atomic_store_n(inside.at, store->lock("TEMPO", "k") ? 7 : 8, __ATOMIC_SEQ_CST);
        for (;;)
            ::pause();
        return 0;
    });
    while (__atomic_load_n(inside.at, __ATOMIC_SEQ_CST) == 0)
        ::sched_yield();
    const auto store = open(direct);
    EXPECT_EQ(*inside.at, 7);
    EXPECT_FALSE(store->lock("TEMPO", "k"));
    ::kill(holder, SIGKILL);
    EXPECT_EQ(end_of(holder), -SIGKILL);
    EXPECT_TRUE(store->lock("TEMPO", "k"));
}

TEST(EmbeddedBase, a_new_base_neither_takes_nor_loses_the_log_of_another) {
    const ScratchFolder folder;
    const pid_t killed = start_process([&] {
        const auto store = open(folder / "base", OpenMode::create);
        store->write(store->file("TEMPO"), "ancien", "1");
        return ::raise(SIGKILL);
    });
    ASSERT_EQ(end_of(killed), -SIGKILL);
    ASSERT_GT(std::filesystem::file_size(folder / "base-wal"), 0U);
    // The base may have been moved away: what it wrote last is in the log alone.
    std::filesystem::rename(folder / "base", folder / "ailleurs");
    EXPECT_EQ(failure_number([&] { open(folder / "base", OpenMode::create); }), ERR_STORE);
    std::filesystem::rename(folder / "ailleurs", folder / "base");
    EXPECT_EQ(records_of(*open(folder / "base"), "TEMPO"), (Records{{"ancien", "1"}}));
}

TEST(EmbeddedBase, processes_that_make_one_base_share_it) {
    const ScratchFolder folder;
    for (int round = 0; round < 5; ++round) {
        const std::string path = folder / ("base" + std::to_string(round));
        std::vector<pid_t> makers;
        for (int i = 0; i < 8; ++i)
            makers.push_back(start_process([&path, i] {
                fill_embedded_store(path, [i](Store& store) {
                    store.write(store.file("TEMPO"), std::to_string(i), std::string(30'000, 'r'));
                });
                return 0;
            }));
        for (const pid_t maker : makers)
            ASSERT_EQ(end_of(maker), 0);
        ASSERT_EQ(records_of(*open(path), "TEMPO").size(), makers.size());
        ASSERT_EQ(folder.entries(), static_cast<std::size_t>(round) + 1);
    }
}

} // namespace
} // namespace corvalissement
