// The subcommands of mopac-input, apart from their command-line wiring.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vesk::tools {

/// Keyword edits shared by `edit` and `new`, applied in this fixed order:
/// method, charge, multiplicity, aux or no-aux, remove, set, add (keyword), title, comment.
struct EditOptions {
    std::optional<std::string> method;
    std::optional<int> charge;
    std::optional<unsigned int> multiplicity;
    std::optional<int> aux_precision;
    bool aux_xp = false;
    bool no_aux = false;
    std::vector<std::string> remove;
    std::vector<std::string> set;  // NAME or NAME=VALUE
    std::vector<std::string> add;
    std::optional<std::string> title;
    std::optional<std::string> comment;
    unsigned long long width = 78;
};

struct OutputOptions {
    std::string output;  // -o; empty: standard output
    bool in_place = false;
    bool force = false;
};

/// Each returns the process exit status: 0 success, 1 when something failed or was found.
int run_show(const std::vector<std::string>& files, bool json);
int run_edit(const std::vector<std::string>& files, const EditOptions& edits, const OutputOptions& output);
int run_new(const std::string& xyz_file, const EditOptions& edits, bool fixed, const std::string& output);
int run_xyz(const std::string& file, const std::string& output);
int run_check(const std::vector<std::string>& files, bool json);

}  // namespace vesk::tools
