// A scratch directory for one test, removed with everything in it afterwards.
#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace vesk::test_support {

class TempDir {
public:
    TempDir() {
        const char* base = std::getenv("TMPDIR");
        std::string pattern = std::string(base && *base ? base : "/tmp") + "/vesk-test-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        ::chmod(pattern.c_str(), 0755);  // reachable by the unprivileged user of some tests
        path_ = pattern;
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::string& path() const { return path_; }

    /// Writes `content` to a file of that name and answers its path.
    std::string write(const std::string& name, const std::string& content) const {
        std::string file = path_ + "/" + name;
        std::ofstream(file, std::ios::binary) << content;
        return file;
    }

    /// The names in the directory, sorted: shows any temporary file left behind.
    std::vector<std::string> entries() const { return list(path_); }

    static std::vector<std::string> list(const std::string& directory) {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    std::string path_;
};

}  // namespace vesk::test_support
