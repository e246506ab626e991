#include "output/recorded_document.h"

#include "output/sheet.h"
#include "platform/failures.h"
#include "platform/text.h"

#include <cmath>
#include <cstring>
#include <filesystem>

namespace corvalissement {

namespace {

constexpr char BOLD = 1;
constexpr char UNDERLINE = 2;

// A page's marks one behind the other: kind, style, five numbers, and two texts with their lengths. The file
// never leaves this process, so the machine's own representation will do.
template <class Number>
void put(std::string& bytes, Number number) {
    char raw[sizeof(Number)];
    std::memcpy(raw, &number, sizeof raw);
    bytes.append(raw, sizeof raw);
}

void put_mark(std::string& bytes, const PageMark& mark) {
    bytes += static_cast<char>(mark.kind);
    bytes += static_cast<char>((mark.bold ? BOLD : 0) | (mark.underline ? UNDERLINE : 0));
    for (const double number : {mark.points, mark.x, mark.y, mark.x2, mark.y2})
        put(bytes, number);
    put(bytes, mark.pen_width);
    for (const std::string* text : {&mark.text, &mark.label}) {
        put(bytes, static_cast<std::uint32_t>(text->size()));
        bytes += *text;
    }
}

class Reader {
public:
    explicit Reader(std::string_view bytes) : bytes_(bytes) {}
    [[nodiscard]] bool at_end() const { return at_ >= bytes_.size(); }

    PageMark mark() {
        PageMark mark;
        mark.kind = static_cast<PageMark::Kind>(number<char>());
        const char style = number<char>();
        mark.bold = (style & BOLD) != 0;
        mark.underline = (style & UNDERLINE) != 0;
        for (double* part : {&mark.points, &mark.x, &mark.y, &mark.x2, &mark.y2})
            *part = number<double>();
        mark.pen_width = number<int>();
        mark.text = text();
        mark.label = text();
        return mark;
    }

private:
    const char* take(std::size_t length) {
        if (length > bytes_.size() - at_)
            throw StepFailure(ERR_OUTPUT, "une page de l'aperçu ne peut être relue");
        at_ += length;
        return bytes_.data() + (at_ - length);
    }
    template <class Number>
    Number number() {
        Number value;
        std::memcpy(&value, take(sizeof value), sizeof value);
        return value;
    }
    std::string text() {
        const auto length = number<std::uint32_t>();
        return {take(length), length};
    }

    std::string_view bytes_;
    std::size_t at_ = 0;
};

// What reads as one line: texts printed one behind the other in one size.
struct PrintedLine {
    double x = 0.0;
    double y = 0.0;
    double points = 0.0;
    std::string text;
};

double width_of(const std::string& text, double points) {
    return static_cast<double>(char_count(text)) * CHAR_UNITS_PER_POINT * points;
}

std::vector<PrintedLine> lines_of(const std::vector<PageMark>& marks) {
    std::vector<PrintedLine> lines;
    for (const PageMark& mark : marks) {
        if (mark.kind != PageMark::Kind::text) continue;
        const bool goes_on =
            !lines.empty() && lines.back().y == mark.y && lines.back().points == mark.points &&
            std::abs(lines.back().x + width_of(lines.back().text, mark.points) - mark.x) < 1.0;
        if (!goes_on) lines.push_back({mark.x, mark.y, mark.points, {}});
        lines.back().text += mark.text;
    }
    return lines;
}

// The first place from character `from` on. Character by character, for folding may drop some of them.
std::optional<FoundText> find_in(const PrintedLine& line, const std::string& folded, std::size_t from) {
    std::string searched;
    std::vector<std::size_t> character_at; // of each byte of what is searched
    std::size_t character = 0;
    for (std::size_t byte = 0; byte < line.text.size(); ++character) {
        const std::size_t begin = byte;
        static_cast<void>(next_char(line.text, byte));
        if (character >= from) searched += fold(std::string_view(line.text).substr(begin, byte - begin));
        character_at.resize(searched.size(), character);
    }
    character_at.push_back(character);
    const std::size_t found = searched.find(folded);
    if (found == std::string::npos) return std::nullopt;
    FoundText place;
    place.at = character_at[found];
    const double character_width = CHAR_UNITS_PER_POINT * line.points;
    place.x = line.x + static_cast<double>(place.at) * character_width;
    place.y = line.y;
    place.width = static_cast<double>(character_at[found + folded.size()] - place.at) * character_width;
    place.height = LINE_UNITS_PER_POINT * line.points;
    return place;
}

std::string spool_folder() { return std::filesystem::temp_directory_path().string(); }

} // namespace

double RecordedDocument::width() const noexcept {
    return static_cast<double>(a4(orientation_).width) / HUNDREDTHS_PER_UNIT;
}

double RecordedDocument::height() const noexcept {
    return static_cast<double>(a4(orientation_).height) / HUNDREDTHS_PER_UNIT;
}

std::vector<PageMark> RecordedDocument::page(long number) {
    const std::string packed = pages_.read(static_cast<std::size_t>(number));
    if (const std::string reason = pages_.failure(); !reason.empty()) throw StepFailure(ERR_OUTPUT, reason);
    const auto bytes = inflated(packed);
    if (!bytes) throw StepFailure(ERR_OUTPUT, "une page de l'aperçu ne peut être relue");
    std::vector<PageMark> marks;
    for (Reader reader(*bytes); !reader.at_end();)
        marks.push_back(reader.mark());
    return marks;
}

std::optional<FoundText> RecordedDocument::find(std::string_view wanted,
                                                const std::optional<FoundText>& after) {
    const std::string folded = fold(wanted);
    if (folded.empty() || page_count() == 0) return std::nullopt;
    const long start = after ? after->page : 0;
    // The page of the start comes twice: what is behind the start first, what is before it last.
    for (long step = 0; step <= page_count(); ++step) {
        const long number = (start + step) % page_count();
        const std::vector<PrintedLine> lines = lines_of(page(number));
        for (std::size_t i = step == 0 && after ? after->line : 0; i < lines.size(); ++i) {
            const bool here = step == 0 && after && i == after->line;
            if (auto found = find_in(lines[i], folded, here ? after->at + 1 : 0)) {
                found->page = number;
                found->line = i;
                return found;
            }
        }
    }
    return std::nullopt;
}

void RecordedDocument::replay(PrintSurface& surface) {
    surface.set_Copies(copies_);
    surface.set_Orientation(orientation_);
    surface.describe(title_, author_, day_);
    for (long number = 0; number < page_count(); ++number) {
        if (number > 0) surface.NewPage();
        for (const PageMark& mark : page(number)) {
            if (mark.kind == PageMark::Kind::line) {
                surface.set_DrawWidth(mark.pen_width);
                surface.Line(mark.x, mark.y, mark.x2, mark.y2);
                continue;
            }
            surface.set_CurrentX(mark.x);
            surface.set_CurrentY(mark.y);
            if (mark.kind == PageMark::Kind::account) {
                surface.mark_account(mark.text, mark.label);
                continue;
            }
            surface.set_FontSize(mark.points);
            surface.set_FontBold(mark.bold);
            surface.set_FontUnderline(mark.underline);
            surface.Print(mark.text, LineEnd::keep);
        }
    }
    surface.EndDoc();
}

class RecordingSurface final : public PrintSurface {
public:
    RecordingSurface(std::string device_name, std::string port,
                     std::function<void(std::shared_ptr<RecordedDocument>)> ended)
        : device_name_(std::move(device_name)), port_(std::move(port)), ended_(std::move(ended)),
          document_(std::make_shared<RecordedDocument>(spool_folder())) {}

    [[nodiscard]] std::string DeviceName() const override { return device_name_; }
    [[nodiscard]] std::string Port() const override { return port_; }
    void set_Orientation(int orientation) override { document_->orientation_ = orientation; }
    void set_Copies(int copies) override {
        if (copies < 1)
            throw StepFailure(ERR_PROPERTY, "Nombre d'exemplaires refusé par l'imprimante", device_name_);
        document_->copies_ = copies;
    }
    void set_FontName(std::string_view) override {} // one fixed-pitch face, as on every surface
    void set_FontSize(double points) override { type_.points = points; }
    void set_FontBold(bool bold) override { type_.bold = bold; }
    void set_FontUnderline(bool underline) override { type_.underline = underline; }
    void set_DrawWidth(int width) override { type_.pen_width = width; }
    void set_CurrentX(double x) override { x_ = x; }
    void set_CurrentY(double y) override { y_ = y; }
    [[nodiscard]] double CurrentX() const override { return x_; }
    [[nodiscard]] double CurrentY() const override { return y_; }

    void Print(std::string_view text, LineEnd line_end) override {
        if (!text.empty()) record(PageMark::Kind::text, 0.0, 0.0, sanitize(text), "");
        if (line_end == LineEnd::keep) {
            x_ += static_cast<double>(char_count(text)) * CHAR_UNITS_PER_POINT * type_.points;
        } else {
            x_ = 0.0;
            y_ += LINE_UNITS_PER_POINT * type_.points;
        }
    }

    void Line(double x1, double y1, double x2, double y2) override {
        x_ = x1;
        y_ = y1;
        record(PageMark::Kind::line, x2, y2, "", "");
        x_ = x2;
        y_ = y2;
    }

    void NewPage() override {
        page_count_ = std::max(page_count_, 1L) + 1;
        end_page();
        x_ = 0.0;
        y_ = 0.0;
    }

    void EndDoc() override {
        if (page_count_ == 0 || ended_already_) return;
        ended_already_ = true;
        end_page();
        document_->pages_.finish();
        if (const std::string reason = document_->pages_.failure(); !reason.empty())
            throw StepFailure(ERR_OUTPUT, "les pages de l'aperçu ne peuvent être gardées : " + reason,
                              device_name_);
        if (ended_) ended_(document_);
    }

    [[nodiscard]] long page_count() const override { return page_count_; }

    void describe(std::string_view title, std::string_view author, const CivilDate& day) override {
        document_->title_ = title;
        document_->author_ = author;
        document_->day_ = day;
    }

    void mark_account(std::string_view number, std::string_view label) override {
        record(PageMark::Kind::account, 0.0, 0.0, std::string(number), std::string(label));
        document_->accounts_.push_back({sanitize(number), sanitize(label), page_count_ - 1, y_});
    }

private:
    void record(PageMark::Kind kind, double x2, double y2, std::string text, std::string label) {
        page_count_ = std::max(page_count_, 1L);
        PageMark mark = type_;
        mark.kind = kind;
        mark.x = x_;
        mark.y = y_;
        mark.x2 = x2;
        mark.y2 = y2;
        mark.text = std::move(text);
        mark.label = std::move(label);
        put_mark(page_, mark);
    }

    void end_page() {
        document_->pages_.add(page_);
        page_.clear();
    }

    std::string device_name_;
    std::string port_;
    std::function<void(std::shared_ptr<RecordedDocument>)> ended_;
    std::shared_ptr<RecordedDocument> document_;
    PageMark type_; // size, style and pen in force
    std::string page_;
    double x_ = 0.0;
    double y_ = 0.0;
    long page_count_ = 0;
    bool ended_already_ = false;
};

std::unique_ptr<PrintSurface>
make_recording_surface(std::string device_name, std::string port,
                       std::function<void(std::shared_ptr<RecordedDocument>)> ended) {
    return std::make_unique<RecordingSurface>(std::move(device_name), std::move(port), std::move(ended));
}

} // namespace corvalissement
