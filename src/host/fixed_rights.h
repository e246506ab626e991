// Rights that answer one level for everything, for hosts that know their user in no other way.
#pragma once

#include "data/rights.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace corvalissement {

class FixedRights final : public UserRights {
public:
    explicit FixedRights(std::int32_t level) : right_(std::make_shared<Right>(level)) {}
    [[nodiscard]] std::shared_ptr<UserRight> DroitSur(std::string_view) override { return right_; }

private:
    class Right final : public UserRight {
    public:
        explicit Right(std::int32_t level) : level_(level) {}
        [[nodiscard]] std::int32_t Niveau() const override { return level_; }

    private:
        std::int32_t level_;
    };

    std::shared_ptr<Right> right_;
};

} // namespace corvalissement
