// A folder that lives as long as the test that made it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace corvalissement::testing_support {

class Scratch {
public:
    Scratch() {
        std::string name = (std::filesystem::temp_directory_path() / "corvalissement-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) std::abort();
        path_ = name;
    }
    ~Scratch() { std::filesystem::remove_all(path_); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] std::string operator/(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

} // namespace corvalissement::testing_support
