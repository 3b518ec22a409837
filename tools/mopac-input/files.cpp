// Sources, results, messages and the read-report loop of mopac-input.
#include "files.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>
#include <cstring>
#include <exception>
#include <iostream>
#include <streambuf>
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
std::size_t input_limit = default_input_limit;

// The outcomes of the files of a batch, in the order first counted.
std::vector<std::pair<std::string, std::size_t>> outcomes;
void count_outcome(const std::string& outcome);

// The file for_each_file() has in hand, which write_result() writes back
// only over the very file read; each worker of a parallel batch has its own.
thread_local const SourceFile* in_hand = nullptr;

// What one file of a parallel batch printed, held until the files before it
// are out, so that the output reads as in a run of one file at a time.
struct Capture {
    std::string out;
    std::string err;
    std::vector<std::string> outcomes;
    int status = 0;
    bool done = false;
};
thread_local Capture* capture = nullptr;
int batch_jobs = 1;

int run_one(const std::string& path, const std::function<int(SourceFile&)>& use, ReadRules rules);

bool write_standard_output(std::string_view text);
bool report_read_failure(const std::string& path, const std::system_error& error);
bool is_arc_name(std::string_view path);

// What is printed through std::cout (help and version texts) goes out as
// any other output, so that a failure is reported with its reason.
class StandardOutputBuffer : public std::streambuf {
public:
    StandardOutputBuffer() { setp(buffer_, buffer_ + sizeof buffer_); }

protected:
    int_type overflow(int_type c) override {
        if (sync() != 0) return traits_type::eof();
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(c);
            pbump(1);
        }
        return traits_type::not_eof(c);
    }
    int sync() override {
        const std::string_view pending(pbase(), static_cast<std::size_t>(pptr() - pbase()));
        setp(buffer_, buffer_ + sizeof buffer_);
        return pending.empty() || write_standard_output(pending) ? 0 : -1;
    }

private:
    char buffer_[4096];
};

}  // namespace

void guard_standard_streams() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        // In this order open() answers `fd` itself; read-only, /dev/null gives
        // an empty input and refuses writes (EBADF).
        if (::fcntl(fd, F_GETFD) == -1 && errno == EBADF) ::open("/dev/null", O_RDONLY);
    }
    // Never destroyed: std::cout is flushed at exit, after every static object.
    std::cout.rdbuf(new StandardOutputBuffer);
}

int finish_standard_output(int status) {
    std::cout.flush();  // reports its own failure
    if (::close(STDOUT_FILENO) != 0 && !standard_output_failed) {
        standard_output_failed = true;
        report("standard output", std::strerror(errno));
    }
    return standard_output_failed && status == 0 ? 1 : status;
}

void set_input_limit(std::size_t bytes) { input_limit = bytes; }

std::string text_problem(std::string_view text) {
    const std::size_t nul = text.find('\0');
    if (nul == std::string_view::npos) return {};
    return "not a text file: a NUL byte at offset " + std::to_string(nul);
}

void report(std::string_view where, std::string_view message) {
    const std::string line = "mopac-input: " + escape_for_terminal(where) + ": " + escape_for_terminal(message) + '\n';
    if (capture != nullptr) {
        capture->err += line;
        return;
    }
    clear_progress();
    std::cerr << line;
}

void set_batch_jobs(int jobs) { batch_jobs = jobs < 1 ? 1 : jobs; }

namespace {

// Reads `file` whole as `rules` say, with the lock, if any, in `lock`.
bool read_file(SourceFile& file, bool lock_it, core::fs::FileLock& lock) {
    try {
        if (file.path == "-") {
            std::error_code error;
            if (!core::fs::read_descriptor(STDIN_FILENO, file.text, input_limit, error)) {
                throw std::system_error(error, "cannot read standard input");
            }
        } else {
            core::fs::ReadOptions options;
            options.max_size = input_limit;
            options.regular_only = true;
            options.lock = lock_it;
            core::fs::FileSnapshot snapshot = core::fs::read_text_file(file.path, options);
            file.text = std::move(snapshot.text);
            file.identity = snapshot.identity;
            lock = std::move(snapshot.lock);
        }
    } catch (const std::system_error& error) {
        return report_read_failure(file.path, error);
    }
    const std::string problem = text_problem(file.text);
    if (problem.empty()) return true;
    report(file.path, problem);
    return false;
}

// Why a write to `path` failed, in the words of the failure.
void report_write_failure(const std::string& path, const std::error_code& error) {
    std::string why = error.message();
    struct stat info {};
    if (error.value() == ESTALE) {
        why = "not written: the file was changed, replaced or removed by another program since it was read; "
              "what is there now is left as it is";
    } else if (error.value() == EPERM && ::stat(path.c_str(), &info) == 0 && info.st_uid != ::geteuid()) {
        why = "not written: " + why + " (a new file cannot be given its owner and group here)";
    } else if (error.value() == EINVAL) {
        why = "cannot write: not a regular file or a character device";
    }
    report(path, why);
}

}  // namespace

bool read_source(const std::string& path, std::string& text) {
    SourceFile file{path, {}, {}};
    core::fs::FileLock none;
    if (!read_file(file, false, none)) return false;
    text = std::move(file.text);
    return true;
}

bool write_result_stream(const std::string& path, const std::function<bool(const core::fs::OutputSink&)>& produce) {
    if (path.empty()) return produce([](std::string_view piece) { return write_standard_output(piece); });
    if (in_hand != nullptr && in_hand->path == path) {
        // Over the very file read: whole, and only while it is still that file.
        std::string text;
        return produce([&text](std::string_view piece) {
            text.append(piece);
            return true;
        }) && write_result(path, text);
    }
    std::error_code error;
    if (core::fs::write_output_stream(path, produce, error)) return true;
    if (error.value() != ECANCELED) report_write_failure(path, error);
    return false;
}

bool write_result(const std::string& path, std::string_view text) {
    return write_edited(path, text) != core::fs::WriteOutcome::failed;
}

core::fs::WriteOutcome write_edited(const std::string& path, std::string_view text) {
    using core::fs::WriteOutcome;
    if (path.empty()) return write_standard_output(text) ? WriteOutcome::written : WriteOutcome::failed;
    std::error_code error;
    if (in_hand != nullptr && in_hand->path == path && in_hand->path != "-") {
        switch (core::fs::write_text_file_atomic(path, text, in_hand->identity, error)) {
            case WriteOutcome::written: return WriteOutcome::written;
            case WriteOutcome::unchanged: report(path, "unchanged"); return WriteOutcome::unchanged;
            case WriteOutcome::failed: break;
        }
    } else if (core::fs::write_output_file(path, text, error)) {
        return WriteOutcome::written;
    }
    report_write_failure(path, error);
    return WriteOutcome::failed;
}

void tally(const char* outcome) {
    if (capture != nullptr) {
        capture->outcomes.emplace_back(outcome);
        return;
    }
    count_outcome(outcome);
}

namespace {

void count_outcome(const std::string& outcome) {
    for (auto& [name, count] : outcomes) {
        if (name == outcome) {
            ++count;
            return;
        }
    }
    outcomes.emplace_back(outcome, 1);
}

}  // namespace

void set_summary_outcomes(std::vector<const char*> names) {
    outcomes.clear();
    for (const char* name : names) outcomes.emplace_back(name, 0);
}

input::mopac::MopacJob read_as_mopac(SourceFile& file) {
    input::mopac::ReadOptions options;
    options.arc = is_arc_name(file.path);
    return input::mopac::read_job(std::move(file.text), options);
}

int for_each_file(const std::vector<std::string>& paths, const std::function<int(SourceFile&)>& use,
                  ReadRules rules) {
    int status = 0;
    Progress progress(paths.size());
    const std::size_t workers = std::min<std::size_t>(static_cast<std::size_t>(batch_jobs), paths.size());
    if (workers <= 1) {
        for (const std::string& path : paths) {
            if (standard_output_failed) return 1;
            progress.step(path);
            status |= run_one(path, use, rules);
        }
    } else {
        // Workers take the files in turn; this thread prints each file's
        // output as soon as the files before it are out.
        std::vector<Capture> captured(paths.size());
        std::atomic<std::size_t> next{0};
        std::atomic<bool> stop{false};
        std::mutex mutex;
        std::condition_variable finished;
        const auto work = [&] {
            for (std::size_t i; !stop && (i = next++) < paths.size();) {
                Capture& mine = captured[i];
                capture = &mine;
                mine.status = run_one(paths[i], use, rules);
                capture = nullptr;
                const std::lock_guard<std::mutex> guard(mutex);
                mine.done = true;
                finished.notify_all();
            }
        };
        std::vector<std::thread> threads;
        for (std::size_t k = 0; k < workers; ++k) threads.emplace_back(work);
        for (std::size_t i = 0; i < paths.size(); ++i) {
            {
                std::unique_lock<std::mutex> lock(mutex);
                finished.wait(lock, [&] { return captured[i].done; });
            }
            progress.step(paths[i]);
            Capture& done = captured[i];
            if (!done.err.empty()) {
                clear_progress();
                std::cerr << done.err;
            }
            if (!done.out.empty() && !write_standard_output(done.out)) stop = true;
            for (const std::string& outcome : done.outcomes) count_outcome(outcome);
            status |= done.status;
            done = Capture{"", "", {}, 0, true};
            if (stop) break;
        }
        stop = true;
        for (std::thread& thread : threads) thread.join();
        if (standard_output_failed) status = 1;
    }
    if (paths.size() > 1) {
        std::string summary = std::to_string(paths.size()) + " files:";
        for (std::size_t i = 0; i < outcomes.size(); ++i) {
            summary += (i == 0 ? " " : ", ") + std::to_string(outcomes[i].second) + " " + outcomes[i].first;
        }
        clear_progress();
        std::cerr << "mopac-input: " << summary << '\n';
    }
    return status;
}

namespace {

// Reads one file and hands it to `use`; answers its exit status.
int run_one(const std::string& path, const std::function<int(SourceFile&)>& use, ReadRules rules) {
    SourceFile file{path, {}, {}};
    core::fs::FileLock held;  // with `rules.lock`: until `use` has written its result
    if (!read_file(file, rules.lock, held)) {
        tally("failed");
        return 1;
    }
    if (rules.refuse_empty && file.text.empty()) {
        report(path, "the file is empty");
        tally("failed");
        return 1;
    }
    const SourceFile hand{path, {}, file.identity};  // `use` may take the text over
    in_hand = &hand;
    int status = 0;
    try {
        status = use(file);
    } catch (const std::exception& error) {  // a refused argument, memory
        report(path, error.what());
        tally("failed");
        status = 1;
    }
    in_hand = nullptr;
    return status;
}

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
    if (capture != nullptr) {
        capture->out.append(text);
        return true;
    }
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

bool report_read_failure(const std::string& path, const std::system_error& error) {
    const int code = error.code().value();
    if (code == EINVAL) {
        report(path, "cannot read: not a regular file (use '-' for standard input)");
    } else if (code == EFBIG) {
        report(path, "cannot read: larger than " + std::to_string(input_limit) + " bytes (see --max-size)");
    } else {
        report(path, error.what());
    }
    return false;
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
