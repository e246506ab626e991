// The session over a store: what the control takes for the database component. Each session is a user of
// its own: it holds the locks it took until it ends. Several can be open at once, in one process or more.
#pragma once

#include "commands/command_runner.h"
#include "commands/held_locks.h"
#include "data/tarvex.h"
#include "store/store.h"

#include <memory>
#include <string>
#include <string_view>

namespace corvalissement {

class ServerSession final : public TarvexSession {
public:
    // Without a runner every command fails as unknown.
    explicit ServerSession(std::unique_ptr<Store> store, std::shared_ptr<CommandRunner> commands = nullptr);
    ~ServerSession() override;
    ServerSession(const ServerSession&) = delete;
    ServerSession& operator=(const ServerSession&) = delete;

    // The file may outlive the session's owner: it keeps the store open, but none of the session's locks.
    [[nodiscard]] std::shared_ptr<TarvexFile> DBOpen(std::string_view file_name) override;
    [[nodiscard]] DynArray DBSelect(std::string_view request, std::string_view, std::string& work) override;
    void DBExecute(std::string_view request, std::string_view, std::string& work) override;
    void begin_reading() override;
    void end_reading() override;

    // The locks that the session holds, for the server's commands.
    [[nodiscard]] HeldLocks& locks();

    // The engine itself, for the server's commands, importers and tools.
    [[nodiscard]] Store& store();

private:
    struct Shared; // the store and the locks held, which the open files need too
    class File;

    std::shared_ptr<Shared> shared_;
    std::shared_ptr<CommandRunner> commands_;
};

} // namespace corvalissement
