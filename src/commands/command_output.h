// Where an edition of the server goes while it is made.
#pragma once

#include "files/unnamed_file.h"

#include <functional>
#include <string>
#include <string_view>

namespace corvalissement {

// A PDF to be in the folder LIENCOMPTA beside the base, which is made when it is not there and refused when
// it is a link. It has no name until it is complete; then "GL", entity, user and a number: the first number
// that no file has. So editions made at the same time never write into one file. What is no ASCII letter or
// digit in the entity or the user becomes "_".
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
