// Whole-file reads and atomic writes, including the faults users meet.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dirent.h>
#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <pthread.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdlib>
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
        struct stat info {};
        ASSERT_EQ(::stat(path.c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, 0640u);
        EXPECT_EQ(dir.entries(), std::vector<std::string>{name});
        ::unlink(path.c_str());
    }
}

TEST(write_text_file_atomic, writes_through_a_symbolic_link) {
    TempDir dir;
    const std::string real = dir.write("real.mop", "old\n");
    const std::string link = dir.path() + "/link.mop";
    ASSERT_EQ(::symlink("real.mop", link.c_str()), 0);
    ASSERT_TRUE(write_text_file_atomic(link, "new\n"));
    struct stat info {};
    ASSERT_EQ(::lstat(link.c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
    EXPECT_EQ(read_text_file(real), "new\n");
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"link.mop", "real.mop"}));
}

TEST(write_text_file_atomic, refuses_paths_it_cannot_replace_and_says_why) {
    TempDir dir;
    ::mkdir((dir.path() + "/sub").c_str(), 0755);
    ASSERT_EQ(::symlink("loop", (dir.path() + "/loop").c_str()), 0);
    ASSERT_EQ(::symlink("ping", (dir.path() + "/pong").c_str()), 0);
    ASSERT_EQ(::symlink("pong", (dir.path() + "/ping").c_str()), 0);
    ::mkdir((dir.path() + "/chain").c_str(), 0755);
    for (int i = 0; i <= 40; ++i) {  // 41 links to a missing file: one more than the kernel follows
        const std::string link = dir.path() + "/chain/" + std::to_string(i);
        ASSERT_EQ(::symlink(std::to_string(i + 1).c_str(), link.c_str()), 0);
    }
    const std::pair<std::string, int> cases[] = {
        {"", ENOENT},
        {dir.path() + "/no/such/dir/f.mop", ENOENT},
        {dir.path() + "/sub", EISDIR},
        {dir.path() + "/loop", ELOOP},
        {dir.path() + "/ping", ELOOP},
        {dir.path() + "/chain/0", ELOOP},
    };
    for (const auto& [path, reason] : cases) {
        std::error_code error;
        EXPECT_FALSE(write_text_file_atomic(path, "x", error)) << path;
        EXPECT_EQ(error, std::error_code(reason, std::generic_category())) << path;
    }
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"chain", "loop", "ping", "pong", "sub"}));
    for (const char* link : {"/loop", "/ping", "/chain/40"}) {
        struct stat info {};
        EXPECT_TRUE(::lstat((dir.path() + link).c_str(), &info) == 0 && S_ISLNK(info.st_mode)) << link;
    }
}

// Runs `body` in a child process and answers its exit status; used for
// faults that change process-wide state (limits, signals, user id, mounts).
int in_child(const std::function<int()>& body) {
    pid_t pid = ::fork();
    if (pid == 0) ::_exit(body());
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool sigxfsz_in(const sigset_t& set) { return ::sigismember(&set, SIGXFSZ) == 1; }

// Each case limits the space in a child process, where the old file is
// then written and replaced; SIGXFSZ keeps its default action (the end of
// the process). The child answers the write's error, 250 when it saw the
// old file changed, a temporary left or the signal mask changed, and 254
// when it could not set the limit up here.
TEST(write_text_file_atomic, fails_with_the_system_reason_when_space_runs_out) {
    struct Case {
        const char* name;
        int reason;
        std::function<bool(const std::string& directory)> limit;
    };
    const auto size_limit = [](const std::string&) {
        struct rlimit limit {4096, 4096};
        return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
    };
    const Case cases[] = {
        {"file-size limit", EFBIG, size_limit},
        {"file-size limit, SIGXFSZ already pending", EFBIG,
         [&](const std::string& directory) {
             sigset_t set;
             ::sigemptyset(&set);
             ::sigaddset(&set, SIGXFSZ);
             return ::pthread_sigmask(SIG_BLOCK, &set, nullptr) == 0 && ::raise(SIGXFSZ) == 0 &&
                    size_limit(directory);
         }},
        {"full file system", ENOSPC,
         [](const std::string& directory) {  // a 64 KiB tmpfs in a mount namespace of its own
             return ::unshare(CLONE_NEWNS) == 0 &&
                    ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                    ::mount("tmpfs", directory.c_str(), "tmpfs", 0, "size=64k") == 0;
         }},
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
            const bool kept = read_text_file(path) == "old bytes\n" &&
                              dir.entries() == std::vector<std::string>{"target.mop"};
            // A signal pending before the call stays pending; none other is left.
            const bool signals_as_before =
                sigxfsz_in(after) == sigxfsz_in(before) && sigxfsz_in(pending) == sigxfsz_in(before);
            return kept && signals_as_before ? error.value() : 250;
        });
        if (status == 254 && c.reason == ENOSPC) mounted = false;
        else EXPECT_EQ(status, c.reason) << c.name << " (153: ended by SIGXFSZ)";
    }
    if (!mounted) GTEST_SKIP() << "\n*** SKIPPED the full file system: cannot mount a tmpfs here ***";
}

// Runs `body` in a traced child and collects, at the entry of each of its
// write(2) calls to a file in `directory`, that file's permission bits: what
// another user could open while the content is on its way. Answers the
// child's exit status, or -1 when it cannot be traced here.
int modes_while_writing(const std::string& directory, const std::function<int()>& body,
                        std::vector<mode_t>& modes) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) ::_exit(255);
        ::raise(SIGSTOP);  // waits for the tracer
        ::_exit(body());
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (!WIFSTOPPED(status)) return -1;
    ::ptrace(PTRACE_SETOPTIONS, pid, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    long signal = 0;
    while (::ptrace(PTRACE_SYSCALL, pid, nullptr, signal) == 0 && ::waitpid(pid, &status, 0) == pid &&
           WIFSTOPPED(status)) {
        signal = WSTOPSIG(status) == (SIGTRAP | 0x80) ? 0 : WSTOPSIG(status);
        __ptrace_syscall_info info {};
        if (signal != 0 || ::ptrace(PTRACE_GET_SYSCALL_INFO, pid, sizeof info, &info) <= 0 ||
            info.op != PTRACE_SYSCALL_INFO_ENTRY || info.entry.nr != SYS_write) {
            continue;
        }
        const std::string fd = "/proc/" + std::to_string(pid) + "/fd/" + std::to_string(info.entry.args[0]);
        char name[PATH_MAX];
        const ssize_t n = ::readlink(fd.c_str(), name, sizeof name);
        struct stat file {};
        if (n > 0 && std::string(name, static_cast<std::size_t>(n)).rfind(directory + "/", 0) == 0 &&
            ::stat(fd.c_str(), &file) == 0) {
            modes.push_back(file.st_mode & 07777);
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// A 0600 file is replaced without its new content ever being readable by
// others, and a new file gets 0666 less the umask. The second round hides
// /proc, as a chroot or a bare container may, which the write works without.
TEST(write_text_file_atomic, never_shows_the_content_wider_than_the_target_allows) {
    for (const bool hide_proc : {false, true}) {
        SCOPED_TRACE(hide_proc ? "without /proc" : "with /proc");
        TempDir dir;
        const std::string secret = dir.write("secret.mop", "old\n");
        ASSERT_EQ(::chmod(secret.c_str(), 0600), 0);
        const std::string fresh = dir.path() + "/fresh.mop";
        std::vector<mode_t> modes;
        const int status = modes_while_writing(dir.path(), [&] {
            if (hide_proc && (::unshare(CLONE_NEWNS) != 0 ||
                              ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
                              ::mount("tmpfs", "/proc", "tmpfs", 0, nullptr) != 0)) {
                return 254;
            }
            ::umask(027);
            return write_text_file_atomic(secret, std::string(1 << 20, 's')) &&
                           write_text_file_atomic(fresh, "new\n")
                       ? 0 : 1;
        }, modes);
        if (status == -1) GTEST_SKIP() << "\n*** SKIPPED: cannot trace a child process here ***";
        if (status == 254) GTEST_SKIP() << "\n*** SKIPPED without /proc: cannot mount over it here ***";
        ASSERT_EQ(status, 0);
        EXPECT_THAT(modes, testing::AllOf(testing::SizeIs(testing::Ge(2u)), testing::Each(0600u)));
        struct stat info {};
        EXPECT_TRUE(::stat(secret.c_str(), &info) == 0 && (info.st_mode & 07777) == 0600);
        EXPECT_TRUE(::stat(fresh.c_str(), &info) == 0 && (info.st_mode & 07777) == 0640);
        EXPECT_EQ(read_text_file(secret), std::string(1 << 20, 's'));
        EXPECT_EQ(dir.entries(), (std::vector<std::string>{"fresh.mop", "secret.mop"}));
    }
}

// Directory permissions hold for an unprivileged user only, so when the
// tests run as root the write runs in a child that drops to nobody. Without
// write permission nothing changes. Without read permission the directory
// cannot be opened to sync it, but the file has been replaced, which the
// answer has to say.
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
        ASSERT_EQ(::mkdir(sub.c_str(), 0755), 0);
        const std::string path = sub + "/target.mop";
        std::ofstream(path) << "old bytes\n";
        ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
        if (root) {
            ASSERT_EQ(::chown(sub.c_str(), 65534, 65534), 0);  // the writer's own directory
        }
        ASSERT_EQ(::chmod(sub.c_str(), c.mode), 0);
        const int status = in_child([&] {
            if (root && (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0)) {
                return 255;
            }
            std::error_code error;
            write_text_file_atomic(path, "new bytes\n", error);
            return error.value();
        });
        ::chmod(sub.c_str(), 0755);
        if (status == 255) GTEST_SKIP() << "\n*** SKIPPED: cannot drop to an unprivileged user (65534) ***";
        EXPECT_EQ(status, c.reason);
        EXPECT_EQ(read_text_file(path), c.content);
        EXPECT_EQ(TempDir::list(sub), std::vector<std::string>{"target.mop"});
    }
}

}  // namespace
}  // namespace vesk::core::fs
