// Where an edition of the server goes while it is made.
#pragma once

#include "output/unfinished_files.h"
#include "platform/print_surface.h"

#include <memory>
#include <string>
#include <string_view>

namespace corvalissement {

// What a matrix printer takes on one line.
inline constexpr std::size_t MATRIX_COLUMNS = 132;

// A surface that passes everything on to `inner`, with each text cut at the last column of a matrix printer.
// The print position moves as if the whole text stood there.
[[nodiscard]] std::unique_ptr<PrintSurface> limit_columns(std::unique_ptr<PrintSurface> inner);

// A file of its own in the system's folder for temporary files, which only this user may read. It goes with
// the object. Throws StepFailure (ERR_OUTPUT).
class TemporaryFile {
public:
    TemporaryFile();
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    [[nodiscard]] const std::string& path() const noexcept { return path_; }

private:
    std::string path_;
    UnfinishedFile unfinished_;
};

// A PDF to be in the folder LIENCOMPTA beside the base, which is made when it is not there. It is written
// under a hidden name and gets its own, "GL", entity, user and a number, when it is complete: the first
// number that no file has. So editions made at the same time never write into one file. What is no ASCII
// letter or digit in the entity or the user becomes "_".
class GraphicFile {
public:
    // Throws StepFailure (ERR_OUTPUT, the folder) when the base has none or it cannot be written.
    GraphicFile(const std::string& base_path, std::string_view entity, std::string_view user);
    ~GraphicFile();
    GraphicFile(const GraphicFile&) = delete;
    GraphicFile& operator=(const GraphicFile&) = delete;

    [[nodiscard]] const std::string& working_path() const noexcept { return working_path_; }

    // Gives the finished file its name, which it returns, without the folder. Throws StepFailure
    // (ERR_OUTPUT).
    [[nodiscard]] std::string publish();

private:
    std::string folder_;
    std::string stem_;
    std::string working_path_;
    UnfinishedFile unfinished_;
};

} // namespace corvalissement
