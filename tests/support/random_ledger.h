// Random ledgers and selections, drawn from a seed that a failing test prints.
#pragma once

#include "support/small_base.h"

#include <random>

namespace corvalissement::testing_support {

class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}
    int below(int count) { return static_cast<int>(engine_() % static_cast<unsigned>(count)); }
    bool one_in(int count) { return below(count) == 0; }
    template <class Value, std::size_t N>
    const Value& of(const Value (&values)[N]) {
        return values[below(static_cast<int>(N))];
    }

private:
    std::mt19937 engine_;
};

[[nodiscard]] TestLedger random_ledger(Random& random);
[[nodiscard]] Selection random_selection(Random& random);

} // namespace corvalissement::testing_support
