// Where an edition of the server goes while it is made.
#pragma once

#include "output/unnamed_file.h"
#include "platform/print_surface.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace corvalissement {

// What a matrix printer takes on one line.
inline constexpr std::size_t MATRIX_COLUMNS = 132;

// A surface that passes everything on to `inner`, without the blanks that would stand beyond the last column
// of a matrix printer. A text that has more than blanks there stays whole: no figure is ever cut. The print
// position moves as if the whole text stood there.
[[nodiscard]] std::unique_ptr<PrintSurface> limit_columns(std::unique_ptr<PrintSurface> inner);

// A PDF to be in the folder LIENCOMPTA beside the base, which is made when it is not there. It has no
// name until it is complete; then "GL", entity, user and a number: the first number that no file has. So
// editions made at the same time never write into one file. What is no ASCII letter or digit in the entity or
// the user becomes "_".
class GraphicFile {
public:
    // Throws StepFailure (ERR_OUTPUT, the folder) when the base has none or it cannot be written.
    GraphicFile(const std::string& base_path, std::string_view entity, std::string_view user);

    // What a surface prints into.
    [[nodiscard]] std::string working_path() const { return file_.path(); }

    // Gives the finished file its name and tells it to `named`, without the folder. A file whose name cannot
    // be told is taken away again. Throws StepFailure (ERR_OUTPUT), and what `named` throws.
    void publish(const std::function<void(const std::string& name)>& named);

private:
    std::string folder_;
    std::string stem_;
    UnnamedFile file_;
};

} // namespace corvalissement
