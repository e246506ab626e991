// A base in memory, FEC texts put together line by line, and imports of them.
#pragma once

#include "fec/fec_importer.h"
#include "records/bad_input.h"
#include "support/base_check.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace corvalissement::testing_base {

inline const std::string HEADER =
    "JournalCode|JournalLib|EcritureNum|EcritureDate|CompteNum|CompteLib|CompAuxNum|"
    "CompAuxLib|PieceRef|PieceDate|EcritureLib|Debit|Credit|EcritureLet|DateLet|"
    "ValidDate|Montantdevise|Idevise\n";

// The fields of a line that tests vary; the rest is filled in.
struct FecLine {
    std::string journal = "VE";
    std::string number = "1";
    std::string date = "20240115";
    std::string account = "411000";
    std::string debit = "";
    std::string credit = "";
    std::string label = "Vente";
    std::string lettering = "";
    std::string auxiliary = "";
    std::string valid = "20250331";

    [[nodiscard]] std::string text() const {
        return journal + "|Journal " + journal + "|" + number + "|" + date + "|" + account + "|Compte " +
               account + "|" + auxiliary + "|" + (auxiliary.empty() ? "" : "Tiers " + auxiliary) + "|FA1|" +
               date + "|" + label + "|" + debit + "|" + credit + "|" + lettering + "||" + valid + "||\n";
    }
};

inline std::string fec(const std::vector<FecLine>& lines) {
    std::string text = HEADER;
    for (const FecLine& line : lines)
        text += line.text();
    return text;
}

inline std::string with_separator(std::string text, char separator) {
    for (char& c : text)
        if (c == '|') c = separator;
    return text;
}

// A file that goes with the object.
class ScratchFile {
public:
    explicit ScratchFile(const std::string& text, const std::string& name = "essai.txt") {
        static int count = 0;
        folder_ = std::filesystem::temp_directory_path() /
                  ("fec-" + std::to_string(::getpid()) + "-" + std::to_string(++count));
        std::filesystem::create_directory(folder_);
        path_ = folder_ / name;
        std::ofstream(path_, std::ios::binary) << text;
    }
    ~ScratchFile() { std::filesystem::remove_all(folder_); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    [[nodiscard]] std::string path() const { return path_.string(); }

private:
    std::filesystem::path folder_;
    std::filesystem::path path_;
};

class Trial {
public:
    Trial() : store(make_memory_store()) {
        options.entity = "001";
        options.name = "Essai";
    }

    FecSummary import(const std::vector<std::string>& paths) {
        options.paths = paths;
        FecSummary summary = import_fec(*store, options, {});
        EXPECT_EQ(fault_of_base(*store), "");
        return summary;
    }
    FecSummary import_text(const std::string& text, const std::string& name = "essai.txt") {
        const ScratchFile file(text, name);
        return import({file.path()});
    }
    // Line and reason of the refusal, which must leave the base alone.
    std::string refusal(const std::string& text) {
        const Snapshot before = snapshot(*store);
        const ScratchFile file(text);
        options.paths = {file.path()};
        try {
            (void)import_fec(*store, options, {});
        } catch (const BadInput& bad) {
            EXPECT_EQ(snapshot(*store), before);
            return std::to_string(bad.line()) + " " + bad.reason();
        }
        return "taken";
    }
    [[nodiscard]] Records records(std::string_view file) const { return records_of(*store, file); }
    [[nodiscard]] DynArray record(std::string_view file, const std::string& key) const {
        const Records all = records(file);
        const auto found = all.find(key);
        return DynArray(found == all.end() ? std::string("none") : found->second);
    }
    // The year N of the base, "aaaammjj" style day numbers apart by a blank.
    [[nodiscard]] std::string years() const {
        const DynArray record = this->record(files::PARAMENTITECOMPTA, "001");
        std::string text;
        for (std::size_t a = 1; a <= 4; ++a)
            text += std::string(a > 1 ? " " : "") + std::string(record(a));
        return text;
    }

    std::unique_ptr<Store> store;
    FecOptions options;
};

// True when one of the remarks contains the text.
inline bool remarked(const FecSummary& summary, std::string_view text) {
    for (const std::string& remark : summary.remarks)
        if (remark.find(text) != std::string::npos) return true;
    return false;
}

} // namespace corvalissement::testing_base
