// The rights of the logged-on user, as the host hands them in, and the help object.
#pragma once

#include "data/tarvex.h"
#include "platform/host.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace corvalissement {

inline constexpr std::string_view RIGHT_EDITION = "EDITCORVALISSEMENT";
inline constexpr std::int32_t LEVEL_EDITION = 2; // the user may run the edition

class UserRight {
public:
    virtual ~UserRight() = default;
    [[nodiscard]] virtual std::int32_t Niveau() const = 0;
};

class UserRights {
public:
    virtual ~UserRights() = default;
    [[nodiscard]] virtual std::shared_ptr<UserRight> DroitSur(std::string_view key) = 0;
};

// Shows help pages. The client and the session are kept for the page that wants them, the session for as long
// as its control has it and no longer: it frees its locks when it goes.
class AideObject {
public:
    void AideClient(std::shared_ptr<TarvexClient> client) { client_ = std::move(client); }
    void AideBase(const std::shared_ptr<TarvexSession>& session) { session_ = session; }
    void AidePage(Dialogue& host, std::string_view page, std::string_view kind, std::string_view title) {
        host.show_help(page, kind, title);
    }

private:
    std::shared_ptr<TarvexClient> client_;
    std::weak_ptr<TarvexSession> session_;
};

} // namespace corvalissement
