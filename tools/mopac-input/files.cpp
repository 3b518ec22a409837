// Sources, results, messages and the read-report loop of mopac-input.
#include "files.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <iostream>
#include <string_view>
#include <system_error>
#include <utility>

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

bool standard_output_failed = false;  // reported once; nothing more is written there

// An open file, closed on every way out.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) noexcept : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    int get() const noexcept { return fd_; }

private:
    int fd_;
};

bool lock_and_read(const std::string& path, Descriptor& held, std::string& text);

bool write_standard_output(std::string_view text);
bool read_all(int fd, std::string& text, int& error);
bool is_arc_name(std::string_view path);

}  // namespace

void guard_standard_streams() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        // In this order open() answers `fd` itself; read-only, /dev/null gives
        // an empty input and refuses writes (EBADF).
        if (::fcntl(fd, F_GETFD) == -1 && errno == EBADF) ::open("/dev/null", O_RDONLY);
    }
}

int finish_standard_output(int status) {
    errno = 0;
    std::cout.flush();
    int reason = std::cout.fail() ? (errno != 0 ? errno : EIO) : 0;
    if (::close(STDOUT_FILENO) != 0 && reason == 0) reason = errno;
    if (reason != 0 && !standard_output_failed) {
        standard_output_failed = true;
        report("standard output", std::strerror(reason));
    }
    return standard_output_failed && status == 0 ? 1 : status;
}

void report(std::string_view where, std::string_view message) {
    clear_progress();
    std::cerr << "mopac-input: " << escape_for_terminal(where) << ": " << escape_for_terminal(message) << '\n';
}

bool read_source(const std::string& path, std::string& text) {
    if (path == "-") {
        int error = 0;
        if (read_all(STDIN_FILENO, text, error)) return true;
        report(path, std::string("cannot read standard input: ") + std::strerror(error));
        return false;
    }
    try {
        text = core::fs::read_text_file(path);
        return true;
    } catch (const std::exception& error) {
        report(path, error.what());
        return false;
    }
}

bool write_result(const std::string& path, std::string_view text) {
    if (path.empty()) return write_standard_output(text);
    std::error_code error;
    if (core::fs::write_text_file_atomic(path, text, error)) return true;
    report(path, error.message());
    return false;
}

input::mopac::MopacJob read_as_mopac(SourceFile& file) {
    input::mopac::ReadOptions options;
    options.arc = is_arc_name(file.path);
    return input::mopac::read_job(std::move(file.text), options);
}

int for_each_file(const std::vector<std::string>& paths, const std::function<int(SourceFile&)>& use,
                  bool lock) {
    int status = 0;
    Progress progress(paths.size());
    for (const std::string& path : paths) {
        if (standard_output_failed) return 1;
        progress.step(path);
        SourceFile file{path, {}};
        Descriptor held;  // with `lock`: the locked file, until `use` has written its result
        if (!(lock ? lock_and_read(path, held, file.text) : read_source(path, file.text))) {
            status = 1;
            continue;
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

// Straight to the descriptor, so that the reason of a failure is known; the
// text of one file goes out in one piece.
bool write_standard_output(std::string_view text) {
    if (standard_output_failed) return false;
    clear_progress();
    while (!text.empty()) {
        const ssize_t n = ::write(STDOUT_FILENO, text.data(), text.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            standard_output_failed = true;
            report("standard output", std::strerror(errno));
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

bool read_all(int fd, std::string& text, int& error) {
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n > 0) {
            text.append(buffer, static_cast<std::size_t>(n));
        } else if (n == 0) {
            return true;
        } else if (errno != EINTR) {
            error = errno;
            return false;
        }
    }
}

bool report_read_failure(const std::string& path, int error) {
    report(path, "cannot read '" + path + "': " + std::strerror(error));
    return false;
}

// Opens `path` read-only, takes an exclusive lock and reads through that
// descriptor. While this run waited for the lock, the run that held it may
// have renamed its result over the path: then the locked file is no longer
// the one the path names, and the new one is opened and locked instead.
bool lock_and_read(const std::string& path, Descriptor& held, std::string& text) {
    for (;;) {
        Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        if (file.get() < 0) return report_read_failure(path, errno);
        int locked = 0;
        while ((locked = ::flock(file.get(), LOCK_EX)) != 0 && errno == EINTR) {
        }
        struct stat locked_file {}, named_file {};
        if (locked != 0 || ::fstat(file.get(), &locked_file) != 0 || ::stat(path.c_str(), &named_file) != 0) {
            return report_read_failure(path, errno);
        }
        if (locked_file.st_dev != named_file.st_dev || locked_file.st_ino != named_file.st_ino) continue;
        int error = 0;
        if (!read_all(file.get(), text, error)) return report_read_failure(path, error);
        held = std::move(file);
        return true;
    }
}

// MOPAC reads a file whose name holds ".arc", in any case, from the line
// behind its geometry marker.
bool is_arc_name(std::string_view path) {
    for (std::size_t at = path.find('.'); at != std::string_view::npos; at = path.find('.', at + 1)) {
        const std::string_view rest = path.substr(at + 1, 3);
        if (rest.size() == 3 && (rest[0] | 0x20) == 'a' && (rest[1] | 0x20) == 'r' && (rest[2] | 0x20) == 'c') return true;
    }
    return false;
}

}  // namespace
}  // namespace vesk::tools
