#include "host/tracing_session.h"

namespace corvalissement {

namespace {

struct Told {
    SessionEvents events;
    int silent = 0; // how many reading scopes are open
};

class TracingFile final : public TarvexFile {
public:
    TracingFile(std::shared_ptr<TarvexFile> inner, std::shared_ptr<Told> told)
        : inner_(std::move(inner)), told_(std::move(told)) {}

    [[nodiscard]] const std::string& name() const override { return inner_->name(); }

    void DBRead(std::string_view key, TarvexRecord& slot) override {
        if (told_->silent > 0)
            inner_->DBRead(key, slot);
        else
            tell(std::string(key), false, [&] { inner_->DBRead(key, slot); });
    }

    void DBReadLock(std::string_view key, TarvexRecord& slot) override {
        tell(std::string(key), true, [&] { inner_->DBReadLock(key, slot); });
    }

    [[nodiscard]] TarvexRecord DBNew(std::string_view key) override {
        TarvexRecord record = inner_->DBNew(key);
        record.bind(this, key);
        return record;
    }

    void write(const TarvexRecord& record) override {
        inner_->write(record);
        told_->events.written(name(), record.key());
    }

private:
    template <class Read>
    void tell(const std::string& key, bool locked, Read&& read) {
        try {
            std::forward<Read>(read)();
        } catch (const StepFailure& failure) {
            told_->events.read(name(), key, failure.number(), locked);
            throw;
        }
        told_->events.read(name(), key, 0, locked);
    }

    std::shared_ptr<TarvexFile> inner_;
    std::shared_ptr<Told> told_;
};

class TracingSession final : public TarvexSession {
public:
    TracingSession(std::shared_ptr<TarvexSession> inner, SessionEvents events)
        : inner_(std::move(inner)), told_(std::make_shared<Told>(Told{std::move(events), 0})) {}

    [[nodiscard]] std::shared_ptr<TarvexFile> DBOpen(std::string_view file_name) override {
        return std::make_shared<TracingFile>(inner_->DBOpen(file_name), told_);
    }

    [[nodiscard]] DynArray DBSelect(std::string_view request, std::string_view unused,
                                    std::string& work) override {
        const DynArray asked{std::string(request)};
        const auto tell = [&](std::size_t rows) {
            told_->events.selected(asked(1), asked(2), asked(3), rows);
        };
        try {
            DynArray result = inner_->DBSelect(request, unused, work);
            std::size_t rows = result.DCount();
            if (rows > 0 && result(rows).empty()) --rows; // the attribute behind a sort on labels
            tell(rows);
            return result;
        } catch (const StepFailure&) {
            tell(0);
            throw;
        }
    }

    void DBExecute(std::string_view request, std::string_view unused, std::string& work) override {
        const DynArray asked{std::string(request)};
        const bool prefixed = asked.DCount() == 2 && asked(1) == "P";
        told_->events.executed(prefixed ? asked(1) : asked.text(), prefixed, asked(2));
        inner_->DBExecute(request, unused, work);
    }

    void begin_reading() override {
        inner_->begin_reading();
        ++told_->silent;
    }

    void end_reading() override {
        inner_->end_reading();
        --told_->silent;
    }

private:
    std::shared_ptr<TarvexSession> inner_;
    std::shared_ptr<Told> told_;
};

} // namespace

std::shared_ptr<TarvexSession> trace_session(std::shared_ptr<TarvexSession> session, SessionEvents events) {
    return std::make_shared<TracingSession>(std::move(session), std::move(events));
}

} // namespace corvalissement
