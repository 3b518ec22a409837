// Files an input names: parameter files (EXTERNAL=), geometries (GEO_DAT=,
// GEO_REF=), more keywords (SETUP), and the restart files of the job
// (RESTART: <job>.res, OLDENS: <job>.den). MOPAC stops when one is missing.
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "check/findings.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac::check {
namespace {

// A name as MOPAC takes it from the keyword's value in the file's own case:
// quotes taken off, backslashes made slashes.
std::string written_name(const MopacJob& job, const JobKeyword& keyword) {
    std::string_view written = job.line_text(keyword.line).substr(keyword.column - 1, keyword.length);
    const std::size_t equals = written.find('=');
    if (equals == std::string_view::npos) return {};
    written.remove_prefix(equals + 1);
    while (!written.empty() && written.front() == ' ') written.remove_prefix(1);
    if (!written.empty() && (written.front() == '"' || written.front() == '\'')) {
        const std::size_t close = written.find(written.front(), 1);
        written = written.substr(1, close == std::string_view::npos ? std::string_view::npos : close - 1);
    }
    std::string name(written);
    for (char& c : name) c = c == '\\' ? '/' : c;
    return name;
}

bool has_drive(const std::string& name) {
    return name.size() >= 2 && name[1] == ':' && ((name[0] >= 'A' && name[0] <= 'Z') || (name[0] >= 'a' && name[0] <= 'z'));
}

// Where MOPAC looks for a name: an absolute name ("/...", a drive letter
// "C:/..." or a share "//host/...") as it stands, any other in the input's folder.
std::string resolved(const std::string& folder, const std::string& name) {
    return has_drive(name) || (!name.empty() && name[0] == '/') ? name : folder + name;
}

// Whether that file exists. A drive letter names nothing on a system without drives.
bool exists(const std::string& folder, const std::string& name) {
#ifndef _WIN32
    if (has_drive(name)) return false;
#endif
    std::error_code error;
    return std::filesystem::is_regular_file(resolved(folder, name), error);
}

// A file of the folder whose name differs from `name` in case only: what an
// input written on a system that ignores case most likely means.
std::string differing_in_case(const std::string& folder, const std::string& name) {
    const std::size_t slash = name.find_last_of('/');
    const std::string directory = folder + (slash == std::string::npos ? std::string() : name.substr(0, slash + 1));
    const std::string base = slash == std::string::npos ? name : name.substr(slash + 1);
    const auto upper = [](std::string text) {
        for (char& c : text) c = (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
        return text;
    };
    std::error_code error;
    std::filesystem::directory_iterator entries(directory.empty() ? "." : directory, error);
    for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
        const std::string found = entries->path().filename().string();
        if (found != base && upper(found) == upper(base)) {
            return (slash == std::string::npos ? std::string() : name.substr(0, slash + 1)) + found;
        }
    }
    return {};
}

// The input's name without its folder and extension: MOPAC's job name.
std::string job_name(const std::string& path) {
    const std::size_t slash = path.find_last_of("/\\");
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

}  // namespace

void check_named_files(Findings& findings, const Keywords& keywords, const std::string& folder,
                       const std::string& input_path) {
    const MopacJob& job = findings.job();
    // MOPAC reads the geometry first and stops there when its file is missing.
    std::vector<const JobKeyword*> named;
    for (const JobKeyword& keyword : keywords.job().keywords) {
        const std::string key = normalize_keyword_name(keyword.text);
        if (key == "GEO_DAT") named.insert(named.begin(), &keyword);
        if (key == "EXTERNAL" || key == "GEO_REF" || key == "SETUP") named.push_back(&keyword);
    }
    for (const JobKeyword* each : named) {
        const JobKeyword& keyword = *each;
        const std::string key = normalize_keyword_name(keyword.text);
        std::string name = written_name(job, keyword);
        if (key == "SETUP" && name.empty()) name = "SETUP";
        if (name.empty() || (key == "GEO_REF" && (name == "SELF" || name == "self")) || exists(folder, name)) continue;
        const bool absolute = resolved(folder, name) == name;
        const std::string found = absolute ? std::string() : differing_in_case(folder, name);
        const std::string hint = found.empty()                           ? std::string()
                                 : found.find(' ') == std::string::npos ? key + "=" + found
                                                                        : key + "=\"" + found + "\"";
        if (key == "EXTERNAL") {
            findings.error(keyword, "missing-file", "EXTERNAL file: '" + name + "' does not exist!", hint);
        } else if (key == "SETUP") {
            findings.error(keyword, "missing-file", "SETUP FILE \"" + name + "\" MISSING.", hint);
        } else {
            findings.error(keyword, "missing-file", key + " file: '" + name + "' does not exist.", hint);
            if (key == "GEO_DAT") return;
        }
    }
    if (input_path.empty()) return;
    const std::string stem = job_name(input_path);
    if (const JobKeyword* restart = keywords.find("RESTART")) {
        if (!exists(folder, stem + ".res")) {
            findings.error(*restart, "missing-file", "RESTART file does not exist");
        }
    }
    if (const JobKeyword* oldens = keywords.find("OLDENS")) {
        if (!exists(folder, stem + ".den")) {
            findings.error(*oldens, "missing-file", "Density Restart File missing or corrupt");
        }
    }
}

}  // namespace vesk::input::mopac::check
