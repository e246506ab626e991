#include "commands/session.h"

#include "commands/drafts_in_use.h"
#include "data/keys.h"
#include "platform/failures.h"
#include "query/query_run.h"

#include <utility>

namespace corvalissement {

struct ServerSession::Shared {
    explicit Shared(std::unique_ptr<Store> engine) : store(std::move(engine)), locks(*store) {}

    std::unique_ptr<Store> store;
    HeldLocks locks;
};

namespace {

std::string record_name(const std::string& file, std::string_view key) {
    return file + " " + std::string(key);
}

} // namespace

class ServerSession::File final : public TarvexFile {
public:
    File(std::shared_ptr<Shared> shared, std::string_view name)
        : shared_(std::move(shared)), name_(name), file_(shared_->store->file(name)) {}

    [[nodiscard]] const std::string& name() const override { return name_; }

    void DBRead(std::string_view key, TarvexRecord& slot) override {
        // Straight into the slot's own buffer: an edition reads a record a line.
        if (!shared_->store->read(file_, key, slot.buffer())) {
            const std::string record = record_name(name_, key);
            throw StepFailure(ERR_NOT_FOUND, "enregistrement introuvable : " + record, record);
        }
        slot.changed();
        slot.bind(this, key);
    }

    void DBReadLock(std::string_view key, TarvexRecord& slot) override {
        const bool ours = shared_->locks.holds(name_, key);
        if (!shared_->locks.lock(name_, key)) {
            const std::string record = record_name(name_, key);
            throw StepFailure(ERR_HELD, "enregistrement tenu par un autre utilisateur : " + record, record);
        }
        try {
            DBRead(key, slot);
        } catch (...) {
            // No record, no lock: another user may be about to write it.
            if (!ours) shared_->locks.unlock(name_, key);
            throw;
        }
    }

    [[nodiscard]] TarvexRecord DBNew(std::string_view key) override {
        TarvexRecord record;
        record.bind(this, key);
        return record;
    }

    void write(const TarvexRecord& record) override {
        const std::string& key = record.key();
        if (key.find(ATTRIBUTE_MARK) != std::string::npos || key.find(VALUE_MARK) != std::string::npos)
            throw StepFailure(ERR_STORE, "clé impossible, elle contient une marque", record_name(name_, key));
        shared_->store->write(file_, key, record.text());
    }

private:
    std::shared_ptr<Shared> shared_;
    std::string name_;
    FileId file_;
};

ServerSession::ServerSession(std::unique_ptr<Store> store, std::shared_ptr<CommandRunner> commands)
    : shared_(std::make_shared<Shared>(std::move(store))), commands_(std::move(commands)) {}

ServerSession::~ServerSession() { shared_->locks.unlock_all(); }

std::shared_ptr<TarvexFile> ServerSession::DBOpen(std::string_view file_name) {
    return std::make_shared<File>(shared_, file_name);
}

DynArray ServerSession::DBSelect(std::string_view request, std::string_view, std::string&) {
    if (DynArray(std::string(request))(2) == files::BALANCEGENETEMPO) require_drafts_free(shared_->locks);
    // A query that looks at two files sees both in one state.
    const ReadingScope reading(*this);
    return run_request(*shared_->store, request);
}

void ServerSession::DBExecute(std::string_view request, std::string_view, std::string&) {
    const DynArray parts{std::string(request)};
    const bool prefixed = parts(1) == "P";
    const std::string command(prefixed ? parts(2) : std::string_view(request));
    if (commands_ == nullptr) throw StepFailure(ERR_COMMAND, "commande inconnue : " + command, command);
    commands_->run(*this, command, prefixed);
}

void ServerSession::begin_reading() { shared_->store->begin_reading(); }
void ServerSession::end_reading() { shared_->store->end_reading(); }

HeldLocks& ServerSession::locks() { return shared_->locks; }

Store& ServerSession::store() { return *shared_->store; }

} // namespace corvalissement
