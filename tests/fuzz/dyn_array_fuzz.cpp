// Bytes as operations on a DynArray. A fault is any difference from a plain model: attributes as texts,
// values cut out by hand.
#include "data/dyn_array.h"
#include "fuzz/target.h"

#include <algorithm>
#include <vector>

namespace corvalissement::fuzz {
namespace {

using Model = std::vector<std::string>;

Model pieces(const std::string& text, char mark) {
    Model result(1);
    for (const char c : text) {
        if (c == mark)
            result.emplace_back();
        else
            result.back().push_back(c);
    }
    return result;
}

std::string joined(const Model& model) {
    std::string text;
    for (std::size_t i = 0; i < model.size(); ++i)
        text += (i > 0 ? std::string(1, ATTRIBUTE_MARK) : "") + model[i];
    return text;
}

void require_same(const DynArray& array, const Model& model) {
    const std::string whole = joined(model);
    require(array.DCount() == (whole.empty() ? 0 : model.size()), "number of attributes");
    for (std::size_t a = model.size() + 1; a >= 1; --a) {
        const std::string attribute = a <= model.size() ? model[a - 1] : "";
        const Model values = pieces(attribute, VALUE_MARK);
        require(array(a) == attribute, "attribute");
        require(array.DCount(a) == (attribute.empty() ? 0 : values.size()), "number of values");
        for (std::size_t v = 1; v <= values.size() + 1; ++v)
            require(array(a, v) == (v <= values.size() ? values[v - 1] : ""), "value");
    }
    require(array.text() == whole, "text");
}

} // namespace
} // namespace corvalissement::fuzz

// Each operation is a byte, which names it and its attribute, and a text up to the next byte FF.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace corvalissement;
    using namespace corvalissement::fuzz;
    DynArray array;
    Model model(1);
    for (const std::string& operation : pieces(text_of(data, size), '\xFF')) {
        if (operation.empty()) continue;
        const auto number = static_cast<unsigned char>(operation[0]);
        const std::string text = operation.substr(1);
        const std::size_t a = 1 + number / 4 % 16;
        switch (number % 4) {
        case 0: // a whole text
            array.set_text(text);
            model = pieces(text, ATTRIBUTE_MARK);
            break;
        case 1: // through the buffer, which keeps nothing of before
            array.buffer() = text;
            array.changed();
            model = pieces(text, ATTRIBUTE_MARK);
            break;
        case 2: { // one attribute
            const std::string value = pieces(text, ATTRIBUTE_MARK)[0];
            array.set(a, value);
            model.resize(std::max(a, model.size()));
            model[a - 1] = value;
            break;
        }
        default: { // one attribute, which is a view of another of the same array
            const std::size_t from = 1 + text.size() % 16;
            const std::string value = from <= model.size() ? model[from - 1] : "";
            array.set(a, array(from));
            model.resize(std::max(a, model.size()));
            model[a - 1] = value;
        }
        }
        const DynArray copy = array; // a copy stands on its own
        require_same(array, model);
        require_same(copy, model);
    }
    return 0;
}
