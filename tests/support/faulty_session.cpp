#include "support/faulty_session.h"

namespace corvalissement::testing_support {

namespace {

class WatchedFile final : public TarvexFile {
public:
    WatchedFile(std::shared_ptr<TarvexFile> inner, CallWatch watch)
        : inner_(std::move(inner)), watch_(std::move(watch)) {}
    [[nodiscard]] const std::string& name() const override { return inner_->name(); }
    void DBRead(std::string_view key, TarvexRecord& slot) override {
        watch_("DBRead " + name() + " " + std::string(key));
        inner_->DBRead(key, slot);
    }
    void DBReadLock(std::string_view key, TarvexRecord& slot) override {
        watch_("DBRead " + name() + " " + std::string(key));
        inner_->DBReadLock(key, slot);
    }
    [[nodiscard]] TarvexRecord DBNew(std::string_view key) override { return inner_->DBNew(key); }
    void write(const TarvexRecord& record) override { inner_->write(record); }

private:
    std::shared_ptr<TarvexFile> inner_;
    CallWatch watch_;
};

class WatchedSession final : public TarvexSession {
public:
    WatchedSession(std::shared_ptr<TarvexSession> inner, CallWatch watch)
        : inner_(std::move(inner)), watch_(std::move(watch)) {}
    [[nodiscard]] std::shared_ptr<TarvexFile> DBOpen(std::string_view name) override {
        watch_("DBOpen " + std::string(name));
        return std::make_shared<WatchedFile>(inner_->DBOpen(name), watch_);
    }
    [[nodiscard]] DynArray DBSelect(std::string_view request, std::string_view unused,
                                    std::string& work) override {
        watch_(std::string(request));
        return inner_->DBSelect(request, unused, work);
    }
    void DBExecute(std::string_view request, std::string_view unused, std::string& work) override {
        watch_(std::string(request));
        inner_->DBExecute(request, unused, work);
    }
    void begin_reading() override {
        watch_("begin_reading");
        inner_->begin_reading();
    }
    void end_reading() override { inner_->end_reading(); }

private:
    std::shared_ptr<TarvexSession> inner_;
    CallWatch watch_;
};

} // namespace

std::shared_ptr<TarvexSession> watched_session(std::shared_ptr<TarvexSession> inner, CallWatch watch) {
    return std::make_shared<WatchedSession>(std::move(inner), std::move(watch));
}

} // namespace corvalissement::testing_support
