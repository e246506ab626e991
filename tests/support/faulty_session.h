// A session that fails where a test says so.
#pragma once

#include "data/tarvex.h"

#include <functional>
#include <memory>
#include <string>

namespace corvalissement::testing_support {

// Told of each call before it is made, in words: "DBOpen FILE", "DBRead FILE KEY" (also of a read that
// locks), "begin_reading", or the text of the query or command. What it throws is what the call fails with.
using CallWatch = std::function<void(const std::string& call)>;

[[nodiscard]] std::shared_ptr<TarvexSession> watched_session(std::shared_ptr<TarvexSession> inner,
                                                             CallWatch watch);

} // namespace corvalissement::testing_support
