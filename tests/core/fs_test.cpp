// Whole-file reads and atomic writes, including the faults users meet.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <grp.h>
#include <sys/file.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <fstream>
#include <functional>
#include <string>
#include <system_error>
#include <vector>

#include "core/temp_dir.hpp"
#include "vesk/core/fs.hpp"

namespace vesk::core::fs {
namespace {

using vesk::test_support::TempDir;
using Names = std::vector<std::string>;

mode_t bits_of(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
}

bool is_link(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode);
}

TEST(read_text_file, returns_every_byte) {
    TempDir dir;
    const std::string cases[] = {
        "",
        "no final line feed",
        std::string("nul\0inside\r\ncr lf\rcr only\n", 27),
        std::string(3 * 1024 * 1024 + 17, 'x'),  // larger than one read buffer
    };
    for (const auto& content : cases) {
        const std::string path = dir.write("file", content);
        EXPECT_EQ(read_text_file(path), content);
    }
}

TEST(read_text_file, names_the_path_and_the_reason) {
    TempDir dir;
    const std::pair<std::string, std::string> cases[] = {
        {dir.path() + "/missing.mop", "No such file or directory"},
        {dir.path(), "Is a directory"},
    };
    for (const auto& [path, reason] : cases) {
        try {
            read_text_file(path);
            ADD_FAILURE() << "no exception for " << path;
        } catch (const std::system_error& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr("'" + path + "'"));
            EXPECT_THAT(error.what(), testing::HasSubstr(reason));
        }
    }
}

TEST(write_text_file_atomic, creates_and_replaces_keeping_permission_bits) {
    TempDir dir;
    // Up to the longest name a directory entry can have (NAME_MAX, 255 bytes).
    for (const std::string& name : {std::string("new.mop"), std::string(250, 'n'), std::string(255, 'x')}) {
        SCOPED_TRACE(name.size());
        const std::string path = dir.path() + "/" + name;
        ASSERT_TRUE(write_text_file_atomic(path, "first\n"));
        EXPECT_EQ(read_text_file(path), "first\n");
        ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
        ASSERT_TRUE(write_text_file_atomic(path, std::string("second\0\n", 8)));
        EXPECT_EQ(read_text_file(path), std::string("second\0\n", 8));
        EXPECT_EQ(bits_of(path), 0640u);
        EXPECT_EQ(dir.entries(), Names{name});
        ::unlink(path.c_str());
    }
}

// Pieces go out as they are made: all of them replace the file, a stop
// midway (the producer's, or a full disk's) leaves the old bytes and no
// temporary file; a device takes them directly.
TEST(write_output_stream, replaces_the_file_only_with_the_whole_output) {
    TempDir dir;
    const std::string path = dir.path() + "/out.xyz";
    ASSERT_TRUE(write_text_file_atomic(path, "old\n"));
    const auto pieces = [](bool finish) {
        return [finish](const OutputSink& sink) { return sink("a\n") && sink(std::string(3 << 20, 'b')) && finish; };
    };
    std::error_code error;
    EXPECT_FALSE(write_output_stream(path, pieces(false), error));
    EXPECT_EQ(error, std::errc::operation_canceled);
    EXPECT_EQ(read_text_file(path), "old\n");
    EXPECT_EQ(dir.entries(), Names{"out.xyz"});
    ASSERT_TRUE(write_output_stream(path, pieces(true), error)) << error.message();
    EXPECT_EQ(read_text_file(path).size(), 2u + (3u << 20));
    EXPECT_TRUE(write_output_stream("/dev/null", pieces(true), error));
    if (::access("/dev/full", W_OK) == 0) {
        EXPECT_FALSE(write_output_stream("/dev/full", pieces(true), error));
        EXPECT_EQ(error, std::errc::no_space_on_device);
    }
}

TEST(write_text_file_atomic, writes_through_a_symbolic_link) {
    TempDir dir;
    const std::string real = dir.write("real.mop", "old\n");
    const std::string link = dir.path() + "/link.mop";
    ASSERT_EQ(::symlink("real.mop", link.c_str()), 0);
    ASSERT_TRUE(write_text_file_atomic(link, "new\n"));
    EXPECT_TRUE(is_link(link));
    EXPECT_EQ(read_text_file(real), "new\n");
    EXPECT_EQ(dir.entries(), (Names{"link.mop", "real.mop"}));
}

TEST(write_text_file_atomic, refuses_paths_it_cannot_replace_and_says_why) {
    TempDir dir;
    const std::string at = dir.path() + "/";
    ::mkdir((at + "sub").c_str(), 0755);
    ::mkdir((at + "chain").c_str(), 0755);
    for (int i = 0; i <= 40; ++i) {  // 41 links to a missing file: one more than the kernel follows
        ASSERT_EQ(::symlink(std::to_string(i + 1).c_str(), (at + "chain/" + std::to_string(i)).c_str()), 0);
    }
    ASSERT_EQ(::symlink("loop", (at + "loop").c_str()), 0);
    ASSERT_EQ(::symlink("ping", (at + "pong").c_str()), 0);
    ASSERT_EQ(::symlink("pong", (at + "ping").c_str()), 0);
    const std::pair<std::string, int> cases[] = {
        {"", ENOENT},          {at + "no/such/dir/f.mop", ENOENT}, {at + "sub", EISDIR},
        {at + "loop", ELOOP},  {at + "ping", ELOOP},               {at + "chain/0", ELOOP},
    };
    for (const auto& [path, reason] : cases) {
        std::error_code error;
        EXPECT_FALSE(write_text_file_atomic(path, "x", error)) << path;
        EXPECT_EQ(error, std::error_code(reason, std::generic_category())) << path;
    }
    EXPECT_EQ(dir.entries(), (Names{"chain", "loop", "ping", "pong", "sub"}));
    EXPECT_TRUE(is_link(at + "loop") && is_link(at + "ping") && is_link(at + "chain/40"));
}

// Runs `body` in a child process and answers its exit status (128 + the
// signal that ended it); for faults that change process-wide state. With
// `modes` the child is traced: at the entry of each of its write(2) calls to
// a file in `directory`, the bits of that file are collected, what another
// user could open while the content is on its way. -1: it cannot be traced.
int in_child(const std::function<int()>& body, const std::string& directory = "",
             std::vector<mode_t>* modes = nullptr) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        if (modes && (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0 || ::raise(SIGSTOP) != 0)) ::_exit(255);
        ::_exit(body());
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (modes && !WIFSTOPPED(status)) return -1;
    if (modes) ::ptrace(PTRACE_SETOPTIONS, pid, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    for (long signal = 0; WIFSTOPPED(status) && ::ptrace(PTRACE_SYSCALL, pid, nullptr, signal) == 0 &&
                          ::waitpid(pid, &status, 0) == pid;) {
        signal = WSTOPSIG(status) == (SIGTRAP | 0x80) ? 0 : WSTOPSIG(status);
        __ptrace_syscall_info call {};
        if (signal != 0 || ::ptrace(PTRACE_GET_SYSCALL_INFO, pid, sizeof call, &call) <= 0 ||
            call.op != PTRACE_SYSCALL_INFO_ENTRY || call.entry.nr != SYS_write) {
            continue;
        }
        const std::string fd = "/proc/" + std::to_string(pid) + "/fd/" + std::to_string(call.entry.args[0]);
        char name[PATH_MAX];
        const ssize_t n = ::readlink(fd.c_str(), name, sizeof name);
        if (n > 0 && std::string(name, static_cast<std::size_t>(n)).rfind(directory + "/", 0) == 0) {
            modes->push_back(bits_of(fd));
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Mounts a tmpfs over `where`, seen by this (child) process alone.
bool mount_private_tmpfs(const char* where, const char* options) {
    return ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("tmpfs", where, "tmpfs", 0, options) == 0;
}

// Each case limits the space in a child, writes the old file there and
// replaces it; SIGXFSZ keeps its default action (the end of the process).
// The child answers the write's error; 250 when the old file changed, a
// temporary stayed, or SIGXFSZ's blocked or pending state changed; 254 when
// the limit cannot be set up here.
TEST(write_text_file_atomic, fails_with_the_system_reason_when_space_runs_out) {
    const auto size_limit = [](const std::string&) {
        struct rlimit limit {4096, 4096};
        return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
    };
    const struct {
        const char* name;
        int reason;
        std::function<bool(const std::string&)> limit;
    } cases[] = {
        {"file-size limit", EFBIG, size_limit},
        {"file-size limit, SIGXFSZ pending already", EFBIG,
         [&](const std::string& directory) {
             sigset_t set;
             ::sigemptyset(&set);
             ::sigaddset(&set, SIGXFSZ);
             return ::pthread_sigmask(SIG_BLOCK, &set, nullptr) == 0 && ::raise(SIGXFSZ) == 0 &&
                    size_limit(directory);
         }},
        {"full 64 KiB tmpfs", ENOSPC,
         [](const std::string& directory) { return mount_private_tmpfs(directory.c_str(), "size=64k"); }},
    };
    bool mounted = true;
    for (const auto& c : cases) {
        TempDir dir;
        const int status = in_child([&] {
            if (!c.limit(dir.path())) return 254;
            const std::string path = dir.write("target.mop", "old bytes\n");
            sigset_t before, after, pending;
            ::pthread_sigmask(SIG_BLOCK, nullptr, &before);
            std::error_code error;
            write_text_file_atomic(path, std::string(1 << 20, 'x'), error);
            ::pthread_sigmask(SIG_BLOCK, nullptr, &after);
            ::sigpending(&pending);
            const int blocked = ::sigismember(&before, SIGXFSZ);  // and pending in the second case
            const bool kept = ::sigismember(&after, SIGXFSZ) == blocked &&
                              ::sigismember(&pending, SIGXFSZ) == blocked &&
                              read_text_file(path) == "old bytes\n" && dir.entries() == Names{"target.mop"};
            return kept ? error.value() : 250;
        });
        if (status == 254 && c.reason == ENOSPC) {
            mounted = false;
        } else {
            EXPECT_EQ(status, c.reason) << c.name << " (153: ended by SIGXFSZ)";
        }
    }
    if (!mounted) GTEST_SKIP() << "\n*** SKIPPED the full file system: cannot mount a tmpfs here ***";
}

// A 0600 file is replaced without its new content ever being open to
// others, and a new file gets 0666 less the umask. The second round hides
// /proc, as a chroot or a bare container may, which the write does without.
TEST(write_text_file_atomic, never_shows_the_content_wider_than_the_target_allows) {
    for (const bool hide_proc : {false, true}) {
        SCOPED_TRACE(hide_proc ? "without /proc" : "with /proc");
        TempDir dir;
        const std::string secret = dir.write("secret.mop", "old\n");
        ASSERT_EQ(::chmod(secret.c_str(), 0600), 0);
        const std::string fresh = dir.path() + "/fresh.mop";
        std::vector<mode_t> modes;
        const int status = in_child([&] {
            if (hide_proc && !mount_private_tmpfs("/proc", nullptr)) return 254;
            ::umask(027);
            const bool written = write_text_file_atomic(secret, std::string(1 << 20, 's')) &&
                                 write_text_file_atomic(fresh, "new\n");
            return written ? 0 : 1;
        }, dir.path(), &modes);
        if (status == -1) GTEST_SKIP() << "\n*** SKIPPED: cannot trace a child process here ***";
        if (status == 254) GTEST_SKIP() << "\n*** SKIPPED without /proc: cannot mount over it here ***";
        ASSERT_EQ(status, 0);
        EXPECT_THAT(modes, testing::AllOf(testing::SizeIs(testing::Ge(2u)), testing::Each(0600u)));
        EXPECT_EQ(bits_of(secret), 0600u);
        EXPECT_EQ(bits_of(fresh), 0640u);
        EXPECT_EQ(read_text_file(secret), std::string(1 << 20, 's'));
        EXPECT_EQ(dir.entries(), (Names{"fresh.mop", "secret.mop"}));
    }
}

// Directory permissions bind an unprivileged user only: as root, the write
// runs in a child that drops to nobody (65534). Without write permission
// nothing changes. Without read permission the directory cannot be opened
// to sync it, but the file has been replaced, and the answer says so.
TEST(write_text_file_atomic, answers_what_the_directory_permissions_allow) {
    const struct {
        mode_t mode;
        int reason;
        const char* content;
    } cases[] = {{0555, EACCES, "old bytes\n"}, {0300, 0, "new bytes\n"}};
    const bool root = ::geteuid() == 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "mode " << std::oct << c.mode);
        TempDir dir;
        const std::string sub = dir.path() + "/sub";
        const std::string path = sub + "/target.mop";
        ASSERT_EQ(::mkdir(sub.c_str(), 0755), 0);
        std::ofstream(path) << "old bytes\n";
        ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
        // The writer's own directory and file.
        ASSERT_TRUE(!root || (::chown(sub.c_str(), 65534, 65534) == 0 && ::chown(path.c_str(), 65534, 65534) == 0));
        ASSERT_EQ(::chmod(sub.c_str(), c.mode), 0);
        const int status = in_child([&] {
            if (root && (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0)) return 255;
            std::error_code error;
            write_text_file_atomic(path, "new bytes\n", error);
            return error.value();
        });
        ::chmod(sub.c_str(), 0755);
        if (status == 255) GTEST_SKIP() << "\n*** SKIPPED: cannot drop to an unprivileged user (65534) ***";
        EXPECT_EQ(status, c.reason);
        EXPECT_EQ(read_text_file(path), c.content);
        EXPECT_EQ(TempDir::list(sub), Names{"target.mop"});
    }
}

// As root a replaced file went to root with its set-id bits: another user's
// setuid program came back setuid root. An unprivileged writer took over a
// file of another user that it could write. The owner and group are kept,
// or the file is not replaced (EPERM). Needs root to give files away.
TEST(write_text_file_atomic, keeps_the_owner_and_group_or_refuses) {
    if (::geteuid() != 0) GTEST_SKIP() << "\n*** SKIPPED: giving a file to another user needs root ***";
    const struct {
        const char* name;
        uid_t writer;  // 0: root; else the writer drops to this user
        int reason;
        const char* content;
    } cases[] = {
        {"root replaces another user's set-id file", 0, 0, "new\n"},
        {"a user cannot keep another user's ownership", 65533, EPERM, "old\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TempDir dir;
        ASSERT_EQ(::chmod(dir.path().c_str(), 0777), 0);
        const std::string path = dir.write("target.mop", "old\n");
        ASSERT_EQ(::chown(path.c_str(), 65534, 65534), 0);
        ASSERT_EQ(::chmod(path.c_str(), c.writer == 0 ? 06755 : 0666), 0);
        const int status = in_child([&] {
            if (c.writer != 0 && (::setgroups(0, nullptr) != 0 || ::setgid(c.writer) != 0 || ::setuid(c.writer) != 0)) {
                return 255;
            }
            std::error_code error;
            write_text_file_atomic(path, "new\n", error);
            return error.value();
        });
        EXPECT_EQ(status, c.reason);
        struct stat info {};
        ASSERT_EQ(::stat(path.c_str(), &info), 0);
        EXPECT_EQ(info.st_uid, 65534u);
        EXPECT_EQ(info.st_gid, 65534u);
        EXPECT_EQ(info.st_mode & 07777, c.writer == 0 ? 06755u : 0666u);
        EXPECT_EQ(read_text_file(path), c.content);
        EXPECT_EQ(dir.entries(), Names{"target.mop"});
    }
}

// A writer killed between naming its temporary file and renaming it left
// the file behind for good. The next write in that directory removes such
// a file once no writer holds its lock, and nothing else.
TEST(write_text_file_atomic, removes_what_a_killed_writer_left_and_nothing_else) {
    TempDir dir;
    const std::string dead = dir.write(".vesk-00000000000000d1.tmp", "half");
    const std::string live = dir.write(".vesk-00000000000000a1.tmp", "half");
    const int holder = ::open(live.c_str(), O_RDONLY | O_CLOEXEC);  // a writer still at work
    ASSERT_EQ(::flock(holder, LOCK_EX), 0);
    ASSERT_EQ(::symlink("kept.mop", (dir.path() + "/.vesk-00000000000000e1.tmp").c_str()), 0);
    dir.write("kept.mop", "x");
    dir.write(".vesk-0000000000000d1.tmp", "x");  // 15 digits: another program's
    ASSERT_EQ(::mkdir((dir.path() + "/.vesk-00000000000000f1.tmp").c_str(), 0755), 0);
    ASSERT_TRUE(write_text_file_atomic(dir.path() + "/target.mop", "new\n"));
    EXPECT_EQ(dir.entries(), (Names{".vesk-00000000000000a1.tmp", ".vesk-00000000000000e1.tmp",
                                    ".vesk-00000000000000f1.tmp", ".vesk-0000000000000d1.tmp", "kept.mop",
                                    "target.mop"}));
    ::close(holder);
}

// Each case changes the file between the read and the write back, as
// another program may: the write goes ahead over the very file read only,
// and leaves alone a file that holds the content already.
TEST(write_text_file_atomic, writes_back_only_over_the_file_read) {
    TempDir dir;
    const std::string path = dir.path() + "/target.mop";
    const struct timespec past[2] = {{1000000000, 0}, {1000000000, 0}};
    const struct {
        const char* name;
        std::function<void()> change;
        std::string content;
        WriteOutcome outcome;
        const char* left;  // null: no file
    } cases[] = {
        {"nothing", [] {}, "new\n", WriteOutcome::written, "new\n"},
        {"nothing, same text", [] {}, "old\n", WriteOutcome::unchanged, "old\n"},
        {"renamed over", [&] { ::rename(dir.write("o", "other\n").c_str(), path.c_str()); }, "new\n",
         WriteOutcome::failed, "other\n"},
        {"removed", [&] { ::unlink(path.c_str()); }, "new\n", WriteOutcome::failed, nullptr},
        {"rewritten", [&] { dir.write("target.mop", "longer\n"); }, "new\n", WriteOutcome::failed, "longer\n"},
        {"touched", [&] { ::utimensat(AT_FDCWD, path.c_str(), past, 0); }, "new\n", WriteOutcome::failed, "old\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        dir.write("target.mop", "old\n");
        const FileSnapshot read = read_text_file(path, ReadOptions{});
        const ino_t inode = read.identity.inode;
        c.change();
        std::error_code error;
        EXPECT_EQ(write_text_file_atomic(path, c.content, read.identity, error), c.outcome);
        EXPECT_EQ(error.value(), c.outcome == WriteOutcome::failed ? ESTALE : 0);
        EXPECT_EQ(::access(path.c_str(), F_OK) == 0 ? read_text_file(path) : "(none)", c.left ? c.left : "(none)");
        struct stat info {};
        if (c.outcome != WriteOutcome::failed) {  // a new file, or the very one read
            EXPECT_EQ(::stat(path.c_str(), &info) == 0 && info.st_ino == inode, c.outcome == WriteOutcome::unchanged);
        }
        EXPECT_EQ(dir.entries(), c.left ? Names{"target.mop"} : Names{});
        ::unlink(path.c_str());
    }
    // No file read: the write creates one, and refuses one that came meanwhile.
    std::error_code error;
    EXPECT_EQ(write_text_file_atomic(path, "new\n", FileIdentity{}, error), WriteOutcome::written);
    EXPECT_EQ(write_text_file_atomic(path, "again\n", FileIdentity{}, error), WriteOutcome::failed);
    EXPECT_EQ(read_text_file(path), "new\n");
}

// Inputs that are not regular files, or too large, are refused before their
// bytes are held; a locked read keeps the lock and names what it read.
TEST(read_text_file, reads_as_the_options_say) {
    TempDir dir;
    const std::string fifo = dir.path() + "/fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const std::string file = dir.write("ten", "0123456789");
    ReadOptions regular;
    regular.regular_only = true;
    ReadOptions nine;
    nine.max_size = 9;
    const std::pair<std::string, ReadOptions> refused[] = {{fifo, regular}, {dir.path(), regular}, {file, nine}};
    const int reasons[] = {EINVAL, EISDIR, EFBIG};
    for (std::size_t k = 0; k < 3; ++k) {
        try {
            read_text_file(refused[k].first, refused[k].second);
            ADD_FAILURE() << refused[k].first;
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code().value(), reasons[k]) << refused[k].first;
        }
    }
    ReadOptions locked = regular;
    locked.lock = true;
    locked.max_size = 10;
    FileSnapshot read = read_text_file(file, locked);
    struct stat info {};
    ASSERT_EQ(::stat(file.c_str(), &info), 0);
    EXPECT_EQ(read.text, "0123456789");
    EXPECT_EQ(read.identity.inode, info.st_ino);
    EXPECT_EQ(read.identity.size, 10);
    const int other = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_TRUE(read.lock.held());
    EXPECT_NE(::flock(other, LOCK_EX | LOCK_NB), 0);
    read.lock = FileLock();
    EXPECT_EQ(::flock(other, LOCK_EX | LOCK_NB), 0);
    ::close(other);
    // A descriptor, such as standard input, to its end or one byte past the limit.
    for (const std::size_t limit : {std::size_t{4}, std::size_t{5}}) {
        int pipe[2];
        ASSERT_EQ(::pipe(pipe), 0);
        ASSERT_EQ(::write(pipe[1], "hello", 5), 5);
        ::close(pipe[1]);
        std::string text = ">";
        std::error_code error;
        EXPECT_EQ(read_descriptor(pipe[0], text, limit, error), limit == 5);
        EXPECT_EQ(error.value(), limit == 5 ? 0 : EFBIG);
        if (limit == 5) {
            EXPECT_EQ(text, ">hello");
        }
        ::close(pipe[0]);
    }
    std::error_code error;
    EXPECT_TRUE(write_output_file("/dev/null", "x", error)) << error.message();
    EXPECT_FALSE(write_output_file(fifo, "x", error));
    EXPECT_EQ(error.value(), EINVAL);
}

}  // namespace
}  // namespace vesk::core::fs
