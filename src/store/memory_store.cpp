// The engine in memory. A record keeps a chain of versions while somebody may still read an older one:
// a write transaction adds versions one number ahead of the last committed one, which nobody else sees, and
// a reading looks at the number that was the last one when it began. So neither ever waits for the other,
// and a rollback only takes the newest versions off again.
#include "platform/failures.h"
#include "store/store.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace corvalissement {

namespace {

constexpr std::chrono::seconds PATIENCE{5}; // how long a writer waits for another, as the embedded base does

struct Version {
    std::uint64_t since = 0;
    bool erased = false;
    std::string record;
};

// Versions in rising order of `since`; never empty.
using Table = std::map<std::string, std::vector<Version>, std::less<>>;

struct Touched {
    Table* table = nullptr;
    std::string key;
};

const Version* version_at(const std::vector<Version>& versions, std::uint64_t number) {
    for (auto version = versions.rbegin(); version != versions.rend(); ++version)
        if (version->since <= number) return version->erased ? nullptr : &*version;
    return nullptr;
}

} // namespace

// What the stores of one base share. Every member is guarded by `mutex`, which is recursive because a visit
// of a scan may read.
class MemoryBase {
public:
    std::recursive_mutex mutex;
    std::condition_variable_any writer_gone;

    std::map<std::string, Table, std::less<>> tables;
    std::uint64_t committed = 1;
    const void* writer = nullptr;          // the store whose transaction is open
    std::vector<Touched> touched;          // by that transaction
    std::vector<Touched> outdated;         // records that kept an older version for a reading
    std::multiset<std::uint64_t> readings; // the numbers that readings look at
    std::map<std::pair<std::string, std::string>, const void*> locks;

    void put(Table& table, std::string_view key, std::string_view record, bool erased) {
        auto found = table.find(key);
        if (found == table.end()) {
            if (erased) return;
            found = table.emplace(std::string(key), std::vector<Version>()).first;
        }
        std::vector<Version>& versions = found->second;
        if (versions.empty() || versions.back().since != committed + 1) {
            versions.push_back({committed + 1, erased, std::string(record)});
            touched.push_back({&table, std::string(key)});
        } else {
            versions.back().erased = erased;
            versions.back().record.assign(record);
        }
    }

    void commit() {
        ++committed;
        outdated.insert(outdated.end(), std::make_move_iterator(touched.begin()),
                        std::make_move_iterator(touched.end()));
        touched.clear();
        release_writer();
        drop_outdated();
    }

    void rollback() {
        for (const Touched& one : touched) {
            const auto found = one.table->find(one.key);
            found->second.pop_back();
            if (found->second.empty()) one.table->erase(found);
        }
        touched.clear();
        release_writer();
    }

    // Forgets what no reading can see any more; waits until there is no reading at all.
    void drop_outdated() {
        if (!readings.empty()) return;
        std::vector<Touched> kept;
        for (Touched& one : outdated) {
            const auto found = one.table->find(one.key);
            if (found == one.table->end()) continue;
            std::vector<Version>& versions = found->second;
            if (versions.back().since > committed) { // an open transaction wrote it again
                kept.push_back(std::move(one));
            } else if (versions.back().erased) {
                one.table->erase(found);
            } else if (versions.size() > 1) {
                versions.erase(versions.begin(), versions.end() - 1);
            }
        }
        outdated = std::move(kept);
    }

private:
    void release_writer() {
        writer = nullptr;
        writer_gone.notify_all();
    }
};

namespace {

class MemoryStore final : public Store {
public:
    explicit MemoryStore(std::shared_ptr<MemoryBase> base) : base_(std::move(base)) {}

    ~MemoryStore() override {
        const Guard guard(base_->mutex);
        if (base_->writer == this) base_->rollback();
        if (depth_ > 0) leave_reading();
        std::erase_if(base_->locks, [this](const auto& lock) { return lock.second == this; });
    }
    MemoryStore(const MemoryStore&) = delete;
    MemoryStore& operator=(const MemoryStore&) = delete;

    FileId file(std::string_view name) override {
        const auto known = ids_.find(name);
        if (known != ids_.end()) return known->second;
        const Guard guard(base_->mutex);
        tables_.push_back(&base_->tables[std::string(name)]);
        ids_.emplace(std::string(name), tables_.size() - 1);
        return tables_.size() - 1;
    }

    std::vector<std::string> file_names() override {
        const Guard guard(base_->mutex);
        std::vector<std::string> names;
        for (const auto& [name, table] : base_->tables)
            for (const auto& [key, versions] : table)
                if (version_at(versions, visible()) != nullptr) {
                    names.push_back(name);
                    break;
                }
        return names;
    }

    bool read(FileId file, std::string_view key, std::string& record) override {
        const Guard guard(base_->mutex);
        const auto found = tables_.at(file)->find(key);
        if (found == tables_[file]->end()) return false;
        const Version* const version = version_at(found->second, visible());
        if (version == nullptr) return false;
        record.assign(version->record);
        return true;
    }

    void write(FileId file, std::string_view key, std::string_view record) override {
        change([&] { base_->put(*tables_.at(file), key, record, false); });
    }

    bool erase(FileId file, std::string_view key) override {
        bool held = false;
        change([&] {
            Table& table = *tables_.at(file);
            const auto found = table.find(key);
            held = found != table.end() && version_at(found->second, base_->committed + 1) != nullptr;
            if (held) base_->put(table, key, "", true);
        });
        return held;
    }

    void clear(FileId file) override {
        change([&] {
            Table& table = *tables_.at(file);
            for (const auto& [key, versions] : table)
                if (version_at(versions, base_->committed + 1) != nullptr) base_->put(table, key, "", true);
        });
    }

    void scan(FileId file, std::string_view from, const Visit& visit) override {
        const Guard guard(base_->mutex);
        // A reading of its own keeps the records of the walk in place, whoever writes from inside a visit.
        const Reading reading(*this);
        const Table& table = *tables_.at(file);
        for (auto at = table.lower_bound(from); at != table.end(); ++at) {
            const Version* const version = version_at(at->second, visible());
            if (version != nullptr && !visit(at->first, version->record)) return;
        }
    }

    void scan_keys(FileId file, std::string_view from, const VisitKey& visit) override {
        scan(file, from, [&](std::string_view key, std::string_view) { return visit(key); });
    }

    void begin() override {
        std::unique_lock<std::recursive_mutex> guard(base_->mutex);
        if (base_->writer == this) throw StepFailure(ERR_STORE, "une transaction est déjà ouverte");
        if (!base_->writer_gone.wait_for(guard, PATIENCE, [this] { return base_->writer == nullptr; }))
            throw StepFailure(ERR_STORE, "la base en mémoire est tenue par un autre utilisateur");
        base_->writer = this;
    }

    void commit() override {
        const Guard guard(base_->mutex);
        if (base_->writer != this) throw StepFailure(ERR_STORE, "aucune transaction n'est ouverte");
        base_->commit();
        renew_reading();
    }

    void rollback() noexcept override {
        const Guard guard(base_->mutex);
        if (base_->writer != this) return;
        base_->rollback();
        renew_reading();
    }

    void begin_reading() override {
        const Guard guard(base_->mutex);
        if (depth_++ > 0) return;
        reading_ = base_->readings.insert(base_->committed);
    }

    void end_reading() override {
        const Guard guard(base_->mutex);
        if (depth_ == 0 || --depth_ > 0) return;
        leave_reading();
    }

    bool lock(std::string_view file, std::string_view key) override {
        const Guard guard(base_->mutex);
        return base_->locks.try_emplace({std::string(file), std::string(key)}, this).first->second == this;
    }

    void unlock(std::string_view file, std::string_view key) override {
        const Guard guard(base_->mutex);
        const auto held = base_->locks.find({std::string(file), std::string(key)});
        if (held != base_->locks.end() && held->second == this) base_->locks.erase(held);
    }

private:
    using Guard = std::lock_guard<std::recursive_mutex>;

    class Reading {
    public:
        explicit Reading(MemoryStore& store) : store_(store) { store_.begin_reading(); }
        ~Reading() { store_.end_reading(); }
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;

    private:
        MemoryStore& store_;
    };

    // The version number that this store's reads look at.
    [[nodiscard]] std::uint64_t visible() const {
        if (base_->writer == this) return base_->committed + 1;
        return depth_ > 0 ? *reading_ : base_->committed;
    }

    void leave_reading() {
        base_->readings.erase(reading_);
        base_->drop_outdated();
    }

    // A store sees its own writes at once: they end the state that a reading looked at.
    void renew_reading() {
        if (depth_ == 0) return;
        base_->readings.erase(reading_);
        reading_ = base_->readings.insert(base_->committed);
    }

    template <class Change>
    void change(Change&& make) {
        {
            const Guard guard(base_->mutex);
            if (base_->writer == this) {
                make();
                return;
            }
        }
        Transaction whole(*this);
        {
            const Guard guard(base_->mutex);
            make();
        }
        whole.commit();
    }

    std::shared_ptr<MemoryBase> base_;
    std::vector<Table*> tables_;
    std::map<std::string, FileId, std::less<>> ids_;
    std::size_t depth_ = 0;
    std::multiset<std::uint64_t>::iterator reading_; // valid while depth_ > 0
};

} // namespace

std::shared_ptr<MemoryBase> make_memory_base() { return std::make_shared<MemoryBase>(); }

std::unique_ptr<Store> make_memory_store(std::shared_ptr<MemoryBase> base) {
    return std::make_unique<MemoryStore>(std::move(base));
}

} // namespace corvalissement
