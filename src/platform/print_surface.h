// The abstract printer on which an edition is laid out.
//
// Units are 1/1440 inch; x grows to the right, y downwards, from an origin that the surface places on its
// sheet. On every surface of this project a character is 12 units wide per point of type size and a line
// 22.113 units high per point. A surface streams: what stands on a page that has ended is no longer held.
//
// Failures: the operations that put ink on paper may throw StepFailure (ERR_OUTPUT). Not thread-safe.
#pragma once

#include "platform/calendar.h"

#include <string>
#include <string_view>

namespace corvalissement {

inline constexpr double CHAR_UNITS_PER_POINT = 12.0;
inline constexpr double LINE_UNITS_PER_POINT = 22.113;
inline constexpr double UNITS_PER_CM = 567; // not 566.93
inline constexpr int LANDSCAPE = 2;

enum class LineEnd : bool { keep, end };

class PrintSurface {
public:
    virtual ~PrintSurface() = default;

    // The printer's name and port, as the list of printers shows them.
    [[nodiscard]] virtual std::string DeviceName() const = 0;
    [[nodiscard]] virtual std::string Port() const = 0;

    // Settings made before the first page. A printer may refuse a number of copies (ERR_PROPERTY).
    virtual void set_Orientation(int orientation) = 0; // 1 portrait, 2 landscape
    virtual void set_Copies(int copies) = 0;

    // Type and pen, in force until changed. Bold and underline do not change the width of a character.
    virtual void set_FontName(std::string_view name) = 0;
    virtual void set_FontSize(double points) = 0;
    virtual void set_FontBold(bool bold) = 0;
    virtual void set_FontUnderline(bool underline) = 0;
    virtual void set_DrawWidth(int width) = 0;

    // The print position: where the next Print starts.
    virtual void set_CurrentX(double x) = 0;
    virtual void set_CurrentY(double y) = 0;
    [[nodiscard]] virtual double CurrentX() const = 0;
    [[nodiscard]] virtual double CurrentY() const = 0;

    // Prints at the print position. Keeping the line leaves x behind the text; ending it returns x to 0
    // and moves y down by the height of one line of the font in force.
    virtual void Print(std::string_view text, LineEnd line_end) = 0;

    // A straight black line in the pen width. Afterwards the print position is (x2, y2): the frame of the
    // ledger's tables rests on that.
    virtual void Line(double x1, double y1, double x2, double y2) = 0;

    virtual void NewPage() = 0;

    // Ends the document. What was printed stands under its name when this returns; a document that was
    // never printed on leaves nothing. Throws StepFailure (ERR_OUTPUT) when it could not be written.
    virtual void EndDoc() = 0;

    // Number of pages printed so far, the current one included; 0 before anything was printed.
    [[nodiscard]] virtual long page_count() const = 0;

    // Told by the routing before the first page: what the document is called, whose ledger it is, and the day
    // of the edition.
    virtual void describe(std::string_view title, std::string_view author, const CivilDate& day) {
        static_cast<void>(title);
        static_cast<void>(author);
        static_cast<void>(day);
    }

    // Told by the ledger at each account title (not at its continuations): `number` and `label` of the
    // account that opens at the print position. A surface that has an outline enters it there.
    virtual void mark_account(std::string_view number, std::string_view label) {
        static_cast<void>(number);
        static_cast<void>(label);
    }
};

} // namespace corvalissement
