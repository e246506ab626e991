// Seeded mutations of inputs, for replays of fuzz targets as ordinary tests.
#pragma once

#include <random>
#include <string>
#include <vector>

namespace corvalissement::fuzz {

// One to four changes: a byte altered, inserted or erased, a stretch repeated or cut, a telling token put in.
inline std::string mutated(std::string text, std::mt19937& random, const std::vector<std::string>& tokens) {
    for (auto changes = 1 + random() % 4; changes > 0; --changes) {
        const std::size_t at = text.empty() ? 0 : random() % text.size();
        const std::size_t length = random() % 40;
        switch (random() % 6) {
        case 0:
            if (!text.empty()) text[at] = static_cast<char>(random() % 256);
            break;
        case 1:
            text.insert(at, 1, static_cast<char>(random() % 256));
            break;
        case 2:
            text.erase(at, 1 + random() % 3);
            break;
        case 3:
            text.insert(at, text.substr(at, length));
            break;
        case 4:
            text.erase(at, length);
            break;
        default:
            text.insert(at, tokens[random() % tokens.size()]);
            break;
        }
    }
    return text;
}

} // namespace corvalissement::fuzz
