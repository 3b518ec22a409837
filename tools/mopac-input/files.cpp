// Sources, results, messages and the read-report loop of mopac-input.
#include "files.hpp"

#include <unistd.h>

#include <exception>
#include <iostream>
#include <iterator>

#include <vesk/core/fs.hpp>

#include "text.hpp"

namespace vesk::tools {
namespace {

// "[12/300] path" on standard error for long batches, only on a terminal.
// Anything else printed meanwhile clears the line first, so that a message
// never continues the progress text.
class Progress {
public:
    explicit Progress(std::size_t total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();
    void step(const std::string& path);
    void clear();

private:
    std::size_t total_;
    std::size_t done_ = 0;
    bool shown_;
    bool drawn_ = false;
};

Progress* active_progress = nullptr;  // the one progress line on the terminal, if any

void clear_progress() {
    if (active_progress != nullptr) active_progress->clear();
}

}  // namespace

void report(std::string_view where, std::string_view message) {
    clear_progress();
    std::cerr << "mopac-input: " << escape_for_terminal(where) << ": " << escape_for_terminal(message) << '\n';
}

bool read_source(const std::string& path, std::string& text) {
    try {
        if (path == "-") {
            text.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
        } else {
            text = core::fs::read_text_file(path);
        }
        return true;
    } catch (const std::exception& error) {
        report(path, error.what());
        return false;
    }
}

bool write_result(const std::string& path, std::string_view text) {
    if (path.empty()) {
        clear_progress();
        std::cout << text << std::flush;
        return true;
    }
    if (core::fs::write_text_file_atomic(path, text)) return true;
    report(path, "cannot write the file");
    return false;
}

int for_each_file(const std::vector<std::string>& paths, const std::function<int(SourceFile&)>& use) {
    int status = 0;
    Progress progress(paths.size());
    for (const std::string& path : paths) {
        progress.step(path);
        SourceFile file{path, {}, {}};
        if (!read_source(path, file.text)) {
            status = 1;
            continue;
        }
        file.parsed = input::mopac::parse_string(file.text);
        if (!file.parsed.ok) {
            report(path, file.parsed.error);
            status = 1;
        }
        try {
            status |= use(file);
        } catch (const std::exception& error) {  // a refused argument, memory
            report(path, error.what());
            status = 1;
        }
    }
    return status;
}

namespace {

Progress::Progress(std::size_t total) : total_(total), shown_(total >= 10 && ::isatty(STDERR_FILENO)) {
    if (shown_) active_progress = this;
}

Progress::~Progress() {
    clear();
    if (active_progress == this) active_progress = nullptr;
}

void Progress::step(const std::string& path) {
    ++done_;
    if (!shown_) return;
    std::cerr << "\r\033[K[" << done_ << '/' << total_ << "] " << escape_for_terminal(path) << std::flush;
    drawn_ = true;
}

void Progress::clear() {
    if (drawn_) std::cerr << "\r\033[K" << std::flush;
    drawn_ = false;
}

}  // namespace
}  // namespace vesk::tools
