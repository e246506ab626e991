// Random ledgers and selections, drawn from a seed that a failing test prints or from a fuzzer's bytes.
#pragma once

#include "support/small_base.h"

#include <random>

namespace corvalissement::testing_support {

class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}
    // A byte for each small choice; behind the last one every choice is 0.
    explicit Random(std::string bytes) : from_bytes_(true), bytes_(std::move(bytes)) {}
    int below(int count) { return static_cast<int>(draw(count) % static_cast<unsigned>(count)); }
    bool one_in(int count) { return below(count) == 0; }
    template <class Value, std::size_t N>
    const Value& of(const Value (&values)[N]) {
        return values[below(static_cast<int>(N))];
    }

private:
    unsigned draw(int count) {
        if (!from_bytes_) return static_cast<unsigned>(engine_());
        unsigned value = 0;
        for (int take = count > 256 ? 3 : 1; take > 0; --take)
            value = value << 8U | (at_ < bytes_.size() ? static_cast<unsigned char>(bytes_[at_++]) : 0U);
        return value;
    }

    std::mt19937 engine_;
    bool from_bytes_ = false;
    std::string bytes_;
    std::size_t at_ = 0;
};

[[nodiscard]] TestLedger random_ledger(Random& random);
[[nodiscard]] Selection random_selection(Random& random);

} // namespace corvalissement::testing_support
