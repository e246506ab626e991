#include "records/raw_records.h"

#include "data/dyn_array.h"
#include "platform/text.h"
#include "records/bad_input.h"
#include "records/json_text.h"

#include <array>
#include <istream>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string_view>

namespace corvalissement {

namespace {

constexpr std::size_t LONGEST_LINE = std::size_t{512} << 20U;

// Lines of a stream, read in pieces, so that an endless one is noticed before it fills the memory.
class BoundedLines {
public:
    BoundedLines(std::istream& input, const std::string& name) : input_(input), name_(name) {}

    // The next line without its end. False at the end of the input.
    bool next(std::string& line) {
        line.clear();
        ++number_;
        while (true) {
            const std::string_view rest(piece_.data() + at_, end_ - at_);
            const std::size_t found = rest.find('\n');
            const std::size_t taken = found == std::string_view::npos ? rest.size() : found;
            if (line.size() + taken > LONGEST_LINE) throw BadInput(name_, number_, "ligne de plus de 512 Mo");
            line.append(rest.substr(0, taken));
            if (found != std::string_view::npos) {
                at_ += found + 1;
                return true;
            }
            if (!refill()) return !line.empty();
        }
    }

    [[nodiscard]] std::uint64_t number() const noexcept { return number_; }
    [[nodiscard]] std::uint64_t bytes_read() const noexcept { return bytes_read_; }

private:
    bool refill() {
        input_.read(piece_.data(), static_cast<std::streamsize>(piece_.size()));
        at_ = 0;
        end_ = static_cast<std::size_t>(input_.gcount());
        bytes_read_ += end_;
        if (input_.bad()) throw BadInput(name_, number_, "lecture impossible");
        return end_ > 0;
    }

    std::istream& input_;
    const std::string& name_;
    std::array<char, 65'536> piece_{};
    std::size_t at_ = 0;
    std::size_t end_ = 0;
    std::uint64_t number_ = 0;
    std::uint64_t bytes_read_ = 0;
};

// Takes the events of one line's JSON and builds the record from them directly, since a balance record can
// list a million entries. A handler that answers false has left the reason in `fault`.
class RecordReader final : public nlohmann::json_sax<nlohmann::json> {
public:
    std::string file;
    std::string record_key;
    std::string record; // the whole text
    std::string fault;

    void start() {
        file.clear();
        record_key.clear();
        record.clear();
        fault.clear();
        seen_ = {};
        place_ = Place::outside;
        first_attribute_ = true;
    }

    bool start_object(std::size_t) override {
        if (place_ != Place::outside) return refuse("un objet à l'intérieur de l'enregistrement");
        place_ = Place::object;
        return true;
    }

    bool key(string_t& name) override {
        for (std::size_t i = 0; i < MEMBERS.size(); ++i) {
            if (name != MEMBERS[i]) continue;
            if (seen_[i]) return refuse("membre « " + name + " » donné deux fois");
            seen_[i] = true;
            member_ = i;
            return true;
        }
        return refuse("membre inconnu « " + name + " »");
    }

    bool string(string_t& text) override {
        switch (place_) {
        case Place::outside:
            return refuse(NO_OBJECT);
        case Place::object:
            if (member_ == ATTRIBUTES) return refuse("« attributs » doit être une liste");
            if (text.empty()) return refuse("« " + std::string(MEMBERS[member_]) + " » est vide");
            (member_ == FILE ? file : record_key) = text;
            return true;
        case Place::attributes:
            open_attribute();
            break;
        case Place::values:
            if (!first_value_) record.push_back(VALUE_MARK);
            first_value_ = false;
            break;
        }
        record.append(text);
        return true;
    }

    bool start_array(std::size_t) override {
        if (place_ == Place::object && member_ == ATTRIBUTES) {
            place_ = Place::attributes;
            return true;
        }
        if (place_ != Place::attributes) return refuse(place_ == Place::outside ? NO_OBJECT : NO_TEXT);
        place_ = Place::values;
        first_value_ = true;
        open_attribute();
        return true;
    }

    bool end_array() override {
        place_ = place_ == Place::values ? Place::attributes : Place::object;
        return true;
    }

    bool end_object() override {
        for (std::size_t i = 0; i < MEMBERS.size(); ++i)
            if (!seen_[i]) return refuse("membre « " + std::string(MEMBERS[i]) + " » absent");
        return true;
    }

    bool null() override { return refuse(scalar_fault()); }
    bool boolean(bool) override { return refuse(scalar_fault()); }
    bool number_integer(number_integer_t) override { return refuse(scalar_fault()); }
    bool number_unsigned(number_unsigned_t) override { return refuse(scalar_fault()); }
    bool number_float(number_float_t, const string_t&) override { return refuse(scalar_fault()); }
    bool binary(binary_t&) override { return refuse(scalar_fault()); }
    bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception&) override {
        return refuse("JSON mal formé, octet " + std::to_string(position));
    }

private:
    static constexpr std::array<std::string_view, 3> MEMBERS{"fichier", "cle", "attributs"};
    static constexpr std::size_t FILE = 0;
    static constexpr std::size_t ATTRIBUTES = 2;
    static constexpr const char* NO_OBJECT = "la ligne n'est pas un objet JSON";
    static constexpr const char* NO_TEXT = "un texte, ou une liste de textes, est attendu";
    enum class Place { outside, object, attributes, values };

    [[nodiscard]] const char* scalar_fault() const { return place_ == Place::outside ? NO_OBJECT : NO_TEXT; }

    bool refuse(std::string reason) {
        fault = std::move(reason);
        return false;
    }

    void open_attribute() {
        if (!first_attribute_) record.push_back(ATTRIBUTE_MARK);
        first_attribute_ = false;
    }

    std::array<bool, 3> seen_{};
    std::size_t member_ = 0;
    Place place_ = Place::outside;
    bool first_attribute_ = true;
    bool first_value_ = true;
};

// What can still be read of the input, 0 when that cannot be known.
std::uint64_t length_of(std::istream& input) {
    const auto here = input.tellg();
    if (here < 0) {
        input.clear();
        return 0;
    }
    input.seekg(0, std::ios::end);
    const auto end = input.tellg();
    input.clear();
    input.seekg(here);
    return end > here ? static_cast<std::uint64_t>(end - here) : 0;
}

// Appends one attribute: its text, or the array of its values when there are several.
void append_attribute(std::string& out, std::string_view attribute) {
    if (attribute.find(VALUE_MARK) == std::string_view::npos) {
        append_json(out, attribute);
        return;
    }
    char before = '[';
    while (true) {
        const std::size_t end = attribute.find(VALUE_MARK);
        out.push_back(before);
        append_json(out, attribute.substr(0, end));
        if (end == std::string_view::npos) break;
        attribute.remove_prefix(end + 1);
        before = ',';
    }
    out.push_back(']');
}

void append_record(std::string& out, std::string_view file, std::string_view key, std::string_view record) {
    out.append("{\"fichier\":");
    append_json(out, file);
    out.append(",\"cle\":");
    append_json(out, key);
    out.append(",\"attributs\":[");
    while (!record.empty()) {
        const std::size_t end = record.find(ATTRIBUTE_MARK);
        append_attribute(out, record.substr(0, end));
        if (end == std::string_view::npos) break;
        out.append(", ");
        record.remove_prefix(end + 1);
        if (record.empty()) append_attribute(out, "");
    }
    out.append("]}\n");
}

void extract_file(Store& store, std::ostream& output, const std::string& name) {
    std::string line;
    bool sound = true;
    std::string broken;
    store.scan(store.file(name), "", [&](std::string_view key, std::string_view record) {
        line.clear();
        append_record(line, name, key, record);
        // The marks are gone, so whatever is no UTF-8 now was none in the record either.
        sound = is_utf8(line);
        if (!sound) {
            broken.assign(key);
            return false;
        }
        output.write(line.data(), static_cast<std::streamsize>(line.size()));
        return output.good();
    });
    if (!sound)
        throw StepFailure(ERR_STORE,
                          "l'enregistrement « " + sanitize(broken) + " » du fichier " + name +
                              " contient un texte qui n'est pas de l'UTF-8",
                          broken);
}

class Reading {
public:
    explicit Reading(Store& store) : store_(store) { store_.begin_reading(); }
    ~Reading() { store_.end_reading(); }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

private:
    Store& store_;
};

} // namespace

void load_records(Store& store, std::istream& input, const std::string& name,
                  const std::function<void(double fraction)>& progress) {
    const std::uint64_t length = progress ? length_of(input) : 0;
    Transaction transaction(store);
    BoundedLines lines(input, name);
    RecordReader reader;
    std::string line;
    while (lines.next(line)) {
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        reader.start();
        // The parser would take a NUL for the end of the line, and a byte order mark for nothing.
        if (line.find('\0') != std::string::npos) throw BadInput(name, lines.number(), "un caractère NUL");
        if (lines.number() > 1 && line.starts_with("\xEF\xBB\xBF"))
            throw BadInput(name, lines.number(), "une marque d'ordre des octets au milieu du fichier");
        if (!nlohmann::json::sax_parse(line, &reader)) throw BadInput(name, lines.number(), reader.fault);
        store.write(store.file(reader.file), reader.record_key, reader.record);
        if (length > 0 && (lines.number() & 0x3FFU) == 0)
            progress(static_cast<double>(lines.bytes_read()) / static_cast<double>(length));
    }
    transaction.commit();
    if (progress) progress(1.0);
}

void extract_records(Store& store, std::ostream& output, const std::optional<std::string>& file) {
    const Reading reading(store);
    if (file) {
        extract_file(store, output, *file);
    } else {
        for (const std::string& name : store.file_names())
            extract_file(store, output, name);
    }
    output.flush();
    if (!output.good()) throw StepFailure(ERR_OUTPUT, "la sortie ne peut pas être écrite");
}

} // namespace corvalissement
