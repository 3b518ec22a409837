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
        const std::string hint = "the file at " + resolved(folder, name) + ", or its right name";
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
            findings.error(*restart, "missing-file", "RESTART file does not exist", "the file " + stem + ".res of an earlier run");
        }
    }
    if (const JobKeyword* oldens = keywords.find("OLDENS")) {
        if (!exists(folder, stem + ".den")) {
            findings.error(*oldens, "missing-file", "Density Restart File missing or corrupt",
                           "the file " + stem + ".den of an earlier run");
        }
    }
}

}  // namespace vesk::input::mopac::check
