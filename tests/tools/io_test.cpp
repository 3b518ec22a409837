// What mopac-input reads and writes at the edges: other users' files, files
// changed under it, inputs that are not text files, outputs that fail.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "core/temp_dir.hpp"
#include "corpus.hpp"
#include "files.hpp"
#include "vesk/core/fs.hpp"

namespace {

using ::testing::HasSubstr;
using vesk::core::fs::read_text_file;
using vesk::test_support::TempDir;

struct ToolRun {
    int status = -1;  // -1: ended by a signal (the alarm of a run that hung, say)
    std::string out, err;
};

struct How {
    std::string in = "/dev/null";       // standard input
    std::string out;                    // standard output; a file in the directory by default
    rlim_t file_size = RLIM_INFINITY;   // RLIMIT_FSIZE
    long stop_at = -1;                  // at the entry of the first such system call...
    std::function<void()> meanwhile;    // ...this runs while the tool waits
};

// Runs the tool; a run that takes more than 10 s is ended by SIGALRM.
ToolRun run(const TempDir& dir, const std::vector<std::string>& args, const How& how = {}) {
    const std::string out = how.out.empty() ? dir.path() + "/.stdout" : how.out;
    const std::string err = dir.path() + "/.stderr";
    const bool traced = how.stop_at >= 0;
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(::open(how.in.c_str(), O_RDONLY), 0);
        ::dup2(::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 1);
        ::dup2(::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 2);
        const struct rlimit limit {how.file_size, how.file_size};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        ::alarm(10);
        if (traced) {
            // LeakSanitizer stops the world with ptrace, which a traced
            // process cannot: a sanitizer build leaves leaks to the untraced runs.
            const char* options = std::getenv("ASAN_OPTIONS");
            ::setenv("ASAN_OPTIONS", (std::string(options != nullptr ? options : "") + ":detect_leaks=0").c_str(), 1);
        }
        if (traced && (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0 || ::raise(SIGSTOP) != 0)) ::_exit(126);
        std::vector<char*> argv{const_cast<char*>(MOPAC_INPUT_EXE)};
        for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        ::execv(MOPAC_INPUT_EXE, argv.data());
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (traced && WIFSTOPPED(status)) {
        ::ptrace(PTRACE_SETOPTIONS, pid, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL);
        bool done = false;
        for (long signal = 0; ::ptrace(PTRACE_SYSCALL, pid, nullptr, signal) == 0 && ::waitpid(pid, &status, 0) == pid &&
                              WIFSTOPPED(status);) {
            signal = (WSTOPSIG(status) & 0x7f) == SIGTRAP ? 0 : WSTOPSIG(status);
            __ptrace_syscall_info call{};
            if (!done && WSTOPSIG(status) == (SIGTRAP | 0x80) &&
                ::ptrace(PTRACE_GET_SYSCALL_INFO, pid, sizeof call, &call) > 0 &&
                call.op == PTRACE_SYSCALL_INFO_ENTRY && call.entry.nr == static_cast<__u64>(how.stop_at)) {
                how.meanwhile();
                done = true;
            }
        }
    }
    ToolRun r;
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (out.rfind("/dev/", 0) != 0) r.out = read_text_file(out);
    r.err = read_text_file(err);
    return r;
}

struct stat stat_of(const std::string& path) {
    struct stat info {};
    ::stat(path.c_str(), &info);
    return info;
}

const std::string water = "PM7\nt\nc\nO 0 0 0\n";

// As root, an edit in place gave another user's file to root with its
// set-id bits: a setuid program of that user came back setuid root.
TEST(tool_io, in_place_keeps_the_owner_group_and_set_id_bits) {
    if (::geteuid() != 0) GTEST_SKIP() << "\n*** SKIPPED: giving a file to another user needs root ***";
    TempDir dir;
    const std::string path = dir.write("e.mop", water);
    ASSERT_EQ(::chown(path.c_str(), 65534, 65534), 0);
    ASSERT_EQ(::chmod(path.c_str(), 06754), 0);
    const ToolRun r = run(dir, {"edit", "--in-place", path, "--charge", "1"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(read_text_file(path), "PM7 CHARGE=1\nt\nc\nO 0 0 0\n");
    const struct stat after = stat_of(path);
    EXPECT_EQ(after.st_uid, 65534u);
    EXPECT_EQ(after.st_gid, 65534u);
    EXPECT_EQ(after.st_mode & 07777, 06754u);
}

// An edit that gave the same text wrote it all the same: a new inode, new
// times, and no word of it.
TEST(tool_io, an_edit_that_changes_nothing_writes_nothing) {
    TempDir dir;
    const std::string path = dir.write("e.mop", water);
    const struct timespec past[2] = {{1000000000, 0}, {1000000000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), past, 0), 0);
    const struct stat before = stat_of(path);
    const ToolRun r = run(dir, {"edit", "--in-place", path, "--method", "PM7"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "mopac-input: " + path + ": unchanged\n");
    const struct stat after = stat_of(path);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
    EXPECT_EQ(after.st_ctim.tv_nsec, before.st_ctim.tv_nsec);
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{".stderr", ".stdout", "e.mop"}));
}

// Another program removed or replaced the file while the tool was editing
// it: the file was recreated, or the other program's file overwritten, with
// an edit of the old content. The tool is stopped at its first fsync, when
// it has read the file and is writing the result.
TEST(tool_io, in_place_refuses_a_file_changed_while_it_edits) {
    TempDir dir;
    const std::string path = dir.path() + "/e.mop";
    const struct {
        const char* name;
        std::function<void()> change;
        const char* left;  // what the path holds after the run; null: nothing
    } cases[] = {
        {"replaced", [&] { ::rename(dir.write("other", "AM1\nt\nc\nO 0 0 0\n").c_str(), path.c_str()); },
         "AM1\nt\nc\nO 0 0 0\n"},
        {"removed", [&] { ::unlink(path.c_str()); }, nullptr},
        {"rewritten", [&] { dir.write("e.mop", "PM6\nt\nc\nO 0 0 0\n"); }, "PM6\nt\nc\nO 0 0 0\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        dir.write("e.mop", water);
        How how;
        how.stop_at = SYS_fsync;
        how.meanwhile = c.change;
        const ToolRun r = run(dir, {"edit", "--in-place", path, "--charge", "1"}, how);
        EXPECT_EQ(r.status, 1);
        EXPECT_THAT(r.err, HasSubstr(path + ": not written: the file was changed, replaced or removed"));
        EXPECT_EQ(::access(path.c_str(), F_OK) == 0 ? read_text_file(path) : "(none)", c.left ? c.left : "(none)");
        std::vector<std::string> names{".stderr", ".stdout"};
        if (c.left) names.push_back("e.mop");
        EXPECT_EQ(dir.entries(), names);
    }
}

// A FIFO or a device as a named input blocked or filled memory; empty and
// binary files were read as inputs. Every input is refused with a reason
// before its text is used.
TEST(tool_io, reads_regular_text_files_within_the_size_limit) {
    TempDir dir;
    const std::string fifo = dir.path() + "/fifo.mop";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0644), 0);
    const std::string empty = dir.write("empty.mop", "");
    const std::string nul = dir.write("nul.mop", std::string("PM7\0\nt\nc\nO 0 0 0\n", 17));
    const std::string file = dir.write("e.mop", water);
    const struct {
        std::vector<std::string> args;
        std::string in;
        std::string message;  // the whole of standard error
    } cases[] = {
        {{"check", fifo}, "", fifo + ": cannot read: not a regular file (use '-' for standard input)"},
        {{"new", "--xyz", fifo}, "", fifo + ": cannot read: not a regular file (use '-' for standard input)"},
        {{"show", "/dev/zero"}, "", "/dev/zero: cannot read: not a regular file (use '-' for standard input)"},
        {{"check", "--max-size", "1000", "-"}, "/dev/zero", "-: cannot read: larger than 1000 bytes (see --max-size)"},
        {{"show", "--max-size", "15", file}, "", file + ": cannot read: larger than 15 bytes (see --max-size)"},
        {{"check", empty}, "", empty + ": the file is empty"},
        {{"edit", empty}, "", empty + ": the file is empty"},
        {{"xyz", nul}, "", nul + ": not a text file: a NUL byte at offset 3"},
        {{"check", "-"}, nul, "-: not a text file: a NUL byte at offset 3"},
    };
    for (const auto& c : cases) {
        How how;
        if (!c.in.empty()) how.in = c.in;
        const ToolRun r = run(dir, c.args, how);
        EXPECT_EQ(r.status, 1) << c.message;
        EXPECT_EQ(r.err, "mopac-input: " + c.message + "\n");
    }
    EXPECT_EQ(run(dir, {"show", "--max-size", "16", file}).status, 0);
    EXPECT_THAT(run(dir, {"check", "--help"}).out, HasSubstr("(default 268435456, 256 MiB)"));
}

// The corpus settles what a text input is: no real input holds a NUL byte.

TEST(tool_io, no_real_input_is_refused_as_binary) {
    const std::vector<std::string> files = vesk::testing::corpus_files();
    if (files.empty()) GTEST_SKIP() << "\n*** SKIPPED: no corpus under " VESK_CORPUS_DIR " ***";
    for (const std::string& name : files) {
        EXPECT_EQ(vesk::tools::text_problem(read_text_file(VESK_CORPUS_DIR "/" + name)), "") << name;
    }
}


// Outputs that failed or could not be written: --version to a full disk
// said nothing useful, -o /dev/null was refused, and a write past the file
// size limit ended the tool by SIGXFSZ.
TEST(tool_io, every_output_is_written_or_reported) {
    TempDir dir;
    const std::string path = dir.write("e.mop", water);
    const std::string out = dir.path() + "/out.mop";
    How full;
    full.out = "/dev/full";
    for (const std::vector<std::string>& args : {std::vector<std::string>{"--version"}, {"edit", "--help"}}) {
        const ToolRun r = run(dir, args, full);
        EXPECT_EQ(r.status, 1) << args[0];
        EXPECT_EQ(r.err, "mopac-input: standard output: No space left on device\n") << args[0];
    }
    const ToolRun null = run(dir, {"edit", path, "--charge", "1", "-o", "/dev/null"});
    EXPECT_EQ(null.status, 0);
    EXPECT_EQ(null.err, "");
    How small;  // room for the messages, not for the outputs
    small.file_size = 1000;
    dir.write("e.mop", "PM7\n" + std::string(1500, 't') + "\nc\nO 0 0 0\n");
    const ToolRun to_file = run(dir, {"edit", path, "--charge", "1", "-o", out}, small);
    EXPECT_EQ(to_file.status, 1);
    EXPECT_EQ(to_file.err, "mopac-input: " + out + ": File too large\n");
    const ToolRun to_standard_output = run(dir, {"edit", path}, small);
    EXPECT_EQ(to_standard_output.status, 1);
    EXPECT_EQ(to_standard_output.err, "mopac-input: standard output: File too large\n");
    EXPECT_EQ(::access(out.c_str(), F_OK), -1);
}

// What --in-place does to links, said where it is chosen.
TEST(tool_io, in_place_help_says_what_happens_to_links) {
    TempDir dir;
    const std::string help = run(dir, {"edit", "--help"}).out;
    EXPECT_THAT(help, HasSubstr("a hard link is broken"));
    EXPECT_THAT(help, HasSubstr("a symbolic link stays as it is and the file it names is replaced"));
}

}  // namespace
