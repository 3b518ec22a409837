// End-to-end runs of the built mopac-input tool on temporary files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "core/temp_dir.hpp"
#include "vesk/core/fs.hpp"
#include "vesk/input/mopac/parser.hpp"

namespace {

using ::testing::HasSubstr;
using vesk::core::fs::read_text_file;
using vesk::test_support::TempDir;

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

struct Started {
    pid_t pid = -1;
    std::string out, err;  // the files that hold standard output and error
    int terminal = -1;     // the pseudo-terminal that is standard error, if any
};

// Starts the tool with `args` and `input` on standard input. Standard output
// goes to a file (or to `out`, such as /dev/full), standard error to a file
// or to a pseudo-terminal, so that no pipe can fill up.
Started start(const TempDir& dir, const std::vector<std::string>& args, const std::string& input = "",
              std::string out = "", bool terminal = false) {
    Started s{-1, out.empty() ? dir.path() + "/.stdout" : out, dir.path() + "/.stderr", -1};
    const std::string in = dir.write(".stdin", input);
    int slave = -1;
    if (terminal) {
        s.terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
        ::grantpt(s.terminal);
        ::unlockpt(s.terminal);
        slave = ::open(::ptsname(s.terminal), O_RDWR | O_NOCTTY);
    }
    s.pid = ::fork();
    if (s.pid == 0) {
        ::dup2(::open(in.c_str(), O_RDONLY), 0);
        ::dup2(::open(s.out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 1);
        ::dup2(terminal ? slave : ::open(s.err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 2);
        std::vector<char*> argv{const_cast<char*>(MOPAC_INPUT_EXE)};
        for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        ::execv(MOPAC_INPUT_EXE, argv.data());
        ::_exit(127);
    }
    if (slave >= 0) ::close(slave);
    return s;
}

ToolRun finish(const Started& s) {
    ToolRun result;
    if (s.terminal >= 0) {  // what the terminal showed; read returns EIO once the tool has exited
        char buffer[4096];
        for (ssize_t n; (n = ::read(s.terminal, buffer, sizeof buffer)) > 0;) result.err.append(buffer, n);
        ::close(s.terminal);
    }
    int status = 0;
    ::waitpid(s.pid, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (s.out.rfind("/dev/", 0) != 0) result.out = read_text_file(s.out);
    if (s.terminal < 0) result.err = read_text_file(s.err);
    return result;
}

ToolRun run(const TempDir& dir, const std::vector<std::string>& args, const std::string& input = "",
            const std::string& out = "", bool terminal = false) {
    return finish(start(dir, args, input, out, terminal));
}

const std::string example = read_text_file(VESK_EXAMPLES_DIR "/ethanol.mop");

TEST(mopac_input_tool, show_lists_what_mopac_reads) {
    TempDir dir;
    ToolRun r = run(dir, {"show", dir.write("e.mop", example)});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, HasSubstr(": ok\n  keywords: PM7 CHARGE=0 AUX(PRECISION=9) SINGLET\n  charge: 0\n  aux: PRECISION=9\n"));
    EXPECT_THAT(r.out, HasSubstr("  atoms: 9 (C 2, H 6, O 1); 0 internal, 9 Cartesian\n"));
    // a person reads the AUX options, and no byte of the file moves the terminal
    const std::string odd = "PM7 AUX(PRECISION=9,XP)\n\x1b]0;owned\a\tt\xff\nc\nO 0 0 0\n";
    EXPECT_THAT(run(dir, {"show", "-"}, odd).out,
                HasSubstr("  aux: PRECISION=9, XP\n  title: \\x1b]0;owned\\x07      t\\xff\n"));
    // A Z-matrix behind a '*' comment: its atoms, and a finding with its line.
    const std::string zmatrix = "* water\nPM7\nt\nd\nO\nH 0.96 1 0 0 0 0 1\nH 0.96 1 104.5 1 0 0 1 2\nH 1 1 1\n";
    ToolRun z = run(dir, {"show", "--json", "-"}, zmatrix);
    const nlohmann::json job = nlohmann::json::parse(z.out);
    EXPECT_EQ(job["jobs"][0]["atoms"], 4);
    EXPECT_EQ(job["jobs"][0]["internal"], 2);
    EXPECT_EQ(job["jobs"][0]["atoms_by_element"]["H"], 3);
    EXPECT_EQ(job["findings"][0]["line"], 8);
    EXPECT_EQ(job["findings"][0]["code"], "short-line-in-zmatrix");
}

// Files worked on at once print as one at a time does, in order, summary included.
TEST(mopac_input_tool, parallel_batches_print_in_the_order_of_the_files) {
    TempDir dir;
    std::vector<std::string> check{"check"};
    for (int i = 0; i < 12; ++i) {
        check.push_back(i == 4 ? dir.path() + "/missing.mop"
                               : dir.write("f" + std::to_string(i) + ".mop", i % 3 == 0 ? "PM7 CHRAGE=1\nt\n\nO 0 0 0\n" : example));
    }
    const ToolRun one = run(dir, check);
    check.insert(check.begin() + 1, {"-j", "3"});
    const ToolRun three = run(dir, check);
    EXPECT_EQ(three.out, one.out);
    EXPECT_EQ(three.err, one.err);
    EXPECT_EQ(three.status, 1);
    EXPECT_THAT(three.err, ::testing::EndsWith("mopac-input: 12 files: 7 ok, 4 with errors, 1 failed\n"));
    ToolRun method = run(dir, {"edit", check.back(), "--method", "PM6-D3H5"});
    EXPECT_EQ(method.status, 2);
    EXPECT_THAT(method.err, HasSubstr("PM6-D3H5 is not a method MOPAC runs; did you mean PM6-D3H4?"));
    ToolRun typo = run(dir, {"chek", check.back()});
    EXPECT_EQ(typo.status, 2);
    EXPECT_THAT(typo.err, HasSubstr("mopac-input: chek: no such subcommand; did you mean \"check\"?"));
}

TEST(mopac_input_tool, a_message_clears_the_progress_line_first) {
    if (::access("/dev/ptmx", R_OK | W_OK) != 0) GTEST_SKIP() << "no pseudo-terminals here";
    TempDir dir;
    std::vector<std::string> args{"show"};
    for (int i = 0; i < 11; ++i) {
        args.push_back(i == 5 ? dir.path() + "/missing.mop" : dir.write("f" + std::to_string(i) + ".mop", example));
    }
    ToolRun r = run(dir, args, "", "", true);
    EXPECT_EQ(r.status, 1);
    EXPECT_THAT(r.err, HasSubstr("[6/11] " + args[6] + "\r\x1b[Kmopac-input: " + args[6] + ": cannot read"));
    // The batch ends with its summary, on a cleared line.
    EXPECT_THAT(r.err, ::testing::EndsWith("[11/11] " + args[11] + "\r\x1b[Kmopac-input: 11 files: 10 shown, 1 failed\r\n"));
}

TEST(mopac_input_tool, edit_changes_only_the_keyword_lines) {
    TempDir dir;
    const std::string path = dir.write("e.mop", example);
    ToolRun r = run(dir, {"edit", path, "--method", "PM6-D3H4", "--multiplicity", "2", "--charge", "-1"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "PM6-D3H4 CHARGE=-1 +\nAUX(PRECISION=9) DOUBLET\n" + example.substr(example.find("Ethanol")));
    EXPECT_EQ(read_text_file(path), example);
    // --rewrite lays the keyword lines out anew, in no more lines than MOPAC reads.
    ToolRun to_file = run(dir, {"edit", path, "--rewrite", "--no-aux", "--set", "GNORM=0.1", "--add", "XYZ", "-o",
                            dir.path() + "/out.mop", "--width", "12"});
    EXPECT_EQ(to_file.status, 0) << to_file.err;
    auto parsed = vesk::input::mopac::parse_file(dir.path() + "/out.mop");
    EXPECT_EQ(parsed.input.keyword_lines,
              (std::vector<std::string>{"PM7 +", "CHARGE=0 +", "SINGLET GNORM=0.1 XYZ"}));
    EXPECT_EQ(read_text_file(dir.path() + "/out.mop").substr(39), example.substr(example.find("Ethanol")));
    EXPECT_EQ(run(dir, {"edit", path, "--width", "20"}).status, 2);  // a width is for a layout anew
    // A charge that leaves SINGLET with an odd number of electrons is not written, unless forced.
    ToolRun odd = run(dir, {"edit", "--in-place", path, "--charge", "1"});
    EXPECT_EQ(odd.status, 1);
    EXPECT_THAT(odd.err, HasSubstr("not written: the edit gives an error the file did not have: line 2: SINGLET "));
    EXPECT_EQ(read_text_file(path), example);
    EXPECT_EQ(run(dir, {"edit", "--in-place", "--force", path, "--charge", "1"}).status, 0);
}

TEST(mopac_input_tool, in_place_batch_goes_on_past_a_file_that_fails) {
    TempDir dir;
    const std::string a = dir.write("a.mop", "* a comment\r\nPM6\r\nt\r\nc\r\nO 0 0 0\r\n");
    const std::string missing = dir.path() + "/missing.mop";
    const std::string b = dir.write("b.mop", "PM6\rt\rc\rO 0 0 0\r");
    ToolRun r = run(dir, {"edit", "--in-place", "--method", "AM1", a, missing, b});
    EXPECT_EQ(r.status, 1);
    EXPECT_THAT(r.err, ::testing::StartsWith("mopac-input: " + missing + ": cannot read"));
    EXPECT_EQ(read_text_file(a), "* a comment\r\nAM1\r\nt\r\nc\r\nO 0 0 0\r\n");
    EXPECT_EQ(read_text_file(b), "AM1\rt\rc\rO 0 0 0\r");
}

TEST(mopac_input_tool, in_place_waits_for_the_lock_and_edits_the_file_it_finds) {
    TempDir dir;
    const std::string path = dir.write("e.mop", "PM7\nt\nc\nO 0 0 0\n");
    const int other = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);  // another run that holds the file
    ASSERT_EQ(::flock(other, LOCK_EX), 0);
    Started edit = start(dir, {"edit", "--in-place", path, "--charge", "1"});
    ::usleep(300000);
    EXPECT_EQ(read_text_file(path), "PM7\nt\nc\nO 0 0 0\n");  // waiting
    // The other run renames its result over the path, then lets go.
    ::rename(dir.write("other.mop", "AM1\nt\nc\nO 0 0 0\n").c_str(), path.c_str());
    ::close(other);
    ToolRun r = finish(edit);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(read_text_file(path), "AM1 CHARGE=1\nt\nc\nO 0 0 0\n");  // both updates
}

TEST(mopac_input_tool, usage_errors_name_the_option_and_leave_the_file) {
    TempDir dir;
    const std::string path = dir.write("e.mop", example);
    // Whole numbers are plain decimal, signed only where a negative value makes sense.
    const std::pair<std::string, std::string> refused[] = {
        {"--width", "-1"},          {"--width", "0x10"},    {"--charge", "0x10"}, {"--charge", "1.5"},
        {"--charge", "2147483648"}, {"--charge", " 1"},     {"--multiplicity", "0"},
        {"--multiplicity", "+3"},   {"--aux", "19"},        {"--aux", "-0"},
    };
    for (const auto& [option, value] : refused) {
        ToolRun r = run(dir, {"edit", "--in-place", path, option, value});
        EXPECT_EQ(r.status, 2) << option << ' ' << value;
        EXPECT_THAT(r.err, HasSubstr(option + ": expected a whole number from ")) << value;
    }
    EXPECT_EQ(run(dir, {"new", "--xyz", "-", "--width", "-1"}, "1\nx\nH 0 0 0\n").status, 2);
    EXPECT_EQ(read_text_file(path), example);
    EXPECT_THAT(run(dir, {"edit", path, "--rewrite", "--charge", "+2", "--width", "0"}).out,
                ::testing::StartsWith("PM7 +\nCHARGE=2 +\nAUX(PRECISION=9) SINGLET\nEthanol\n"));
    EXPECT_EQ(run(dir, {"edit", path, "--frobnicate"}).status, 2);
    EXPECT_EQ(run(dir, {"edit", path, path}).status, 2);  // several files need --in-place
}

TEST(mopac_input_tool, nothing_is_written_that_reads_back_otherwise) {
    TempDir dir;
    const std::string path = dir.write("e.mop", example);
    const std::string out = dir.path() + "/out.mop";
    // Each made the title a keyword line or moved the atoms, exit 0.
    const std::vector<std::string> refused[] = {
        {"--add", "X +"}, {"--method", "'X", "--width", "20"}, {"--title", "New\nline"}, {"--set", "A=b c"}};
    for (const auto& args : refused) {
        std::vector<std::string> edit{"edit", path, "-o", out};
        edit.insert(edit.end(), args.begin(), args.end());
        ToolRun r = run(dir, edit);
        EXPECT_EQ(r.status, 2) << args[1];
        EXPECT_THAT(r.err, HasSubstr(args[0] + ": \"")) << args[1];
        EXPECT_EQ(run(dir, {"new", "--xyz", "-", args[0], args[1]}, "1\nx\nH 0 0 0\n").status, 2);
    }
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{".stderr", ".stdin", ".stdout", "e.mop"}));
    // An open quote in the file would take in the new CHARGE keyword.
    const std::string quote = dir.write("q.mop", "PM7 'abc\nt\nc\nO 0 0 0\n");
    ToolRun r = run(dir, {"edit", "--in-place", quote, "--charge", "0"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "mopac-input: " + quote + ": not written: job 1: MOPAC would read the keywords as PM7 | 'ABC CHARGE=0, "
                     "not PM7 | 'ABC | CHARGE=0\n");
    EXPECT_EQ(read_text_file(quote), "PM7 'abc\nt\nc\nO 0 0 0\n");
}

TEST(mopac_input_tool, every_write_is_checked_standard_output_included) {
    TempDir dir;
    const std::string path = dir.write("e.mop", example);
    const std::vector<std::string> commands[] = {
        {"show", path, path}, {"check", "--warnings-as-errors", "-"}, {"xyz", path}, {"edit", path, "--method", "PM6"},
        {"new", "--xyz", "-"}, {"--help"},
    };
    for (const auto& args : commands) {
        ToolRun r = run(dir, args, args[0] == "check" ? "QQQQ\nt\nd\nH\n" : "1\nx\nH 0 0 0\n", "/dev/full");
        EXPECT_EQ(r.status, 1) << args[0];
        EXPECT_EQ(r.err, "mopac-input: standard output: No space left on device\n") << args[0];
    }
    ToolRun missing = run(dir, {"edit", path, "-o", dir.path() + "/no/such.mop"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "mopac-input: " + dir.path() + "/no/such.mop: No such file or directory\n");
    EXPECT_EQ(run(dir, {"xyz", path, "-o", dir.path()}).err, "mopac-input: " + dir.path() + ": Is a directory\n");
}

TEST(mopac_input_tool, new_then_xyz_gives_back_the_geometry) {
    TempDir dir;
    const std::string xyz = "3\nwater\nO 0 0 0\nH 0.9572 0 0\nH -0.2399872 0.9266272 0\n";
    ToolRun created = run(dir, {"new", "--xyz", "-", "--method", "PM7", "--keyword", "PRECISE", "-o",
                            dir.path() + "/w.mop"}, xyz);
    EXPECT_EQ(created.status, 0) << created.err;
    EXPECT_EQ(read_text_file(dir.path() + "/w.mop"),
              "PM7 PRECISE\nwater\n\nO 0 1 0 1 0 1\nH 0.9572 1 0 1 0 1\nH -0.2399872 1 0.9266272 1 0 1\n");
    ToolRun back = run(dir, {"xyz", dir.path() + "/w.mop"});
    EXPECT_EQ(back.status, 0) << back.err;
    EXPECT_EQ(back.out, "3\nProperties=species:S:1:pos:R:3 charge=0 title=\"water\"\n" + xyz.substr(xyz.find("O 0")));
    // Extended XYZ with a lattice: new, then xyz, gives the same frame.
    const std::string crystal = "2\nLattice=\"4.2 0 0 0 4.2 0 0 0 4.2\" pbc=\"T T T\" Properties=species:S:1:pos:R:3 "
                                "charge=0 multiplicity=1 title=\"rock salt, \\\"NaCl\\\"\"\nNa 0 0 0\nCl 2.1 2.1 2.1\n";
    ToolRun solid = run(dir, {"new", "--xyz", "-", "--method", "PM7", "-o", dir.path() + "/s.mop"}, crystal);
    EXPECT_EQ(solid.status, 0) << solid.err;
    EXPECT_EQ(run(dir, {"xyz", dir.path() + "/s.mop"}).out, crystal);

    ToolRun fixed = run(dir, {"new", "--xyz", "-", "--fixed", "--title", "T"}, xyz);
    EXPECT_THAT(fixed.out, HasSubstr("\nT\n\nO 0 0 0 0 0 0\n"));
    // new goes through the edits of edit: --width and --set are honoured
    ToolRun narrow = run(dir, {"new", "--xyz", "-", "--method", "PM7", "--set", "T=1", "--width", "6"}, xyz);
    EXPECT_THAT(narrow.out, ::testing::StartsWith("PM7 +\nT=1\nwater\n"));

    ToolRun bad = run(dir, {"new", "--xyz", dir.write("bad.xyz", "2\nc\nO 0 0 0\nH x 0 0\n")});
    EXPECT_EQ(bad.status, 1);
    EXPECT_THAT(bad.err, HasSubstr("bad.xyz: line 4: expected an element and three coordinates"));
}

TEST(mopac_input_tool, check_and_xyz_read_real_files_as_mopac_does) {
    TempDir dir;
    const std::string corpus = VESK_CORPUS_DIR;
    const std::string old_deck = corpus + "/openmopac-mopac-archive/2015_MOPAC5.022mn/test/test41.dat";
    const std::string zmatrix = corpus + "/wkpark-mopac/test/test03.inp";  // '&' head, atom 2 on 4 fields
    const std::string clean = corpus + "/cclib/data/MOPAC/h2o.mop";
    if (!std::ifstream(old_deck)) GTEST_SKIP() << "\n*** SKIPPED: no corpus under " VESK_CORPUS_DIR " ***";

    ToolRun errors = run(dir, {"check", old_deck});
    EXPECT_EQ(errors.status, 1);
    EXPECT_THAT(errors.out, ::testing::StartsWith(old_deck + ":1:1: error: UNRECOGNIZED KEY-WORDS: (MNDO-D MOD1 MOD2 "
                                                             "MOD3 MOD4) [unknown-keyword] (write MNDOD)\n"));
    // The parameter file the deck names is looked for beside it.
    EXPECT_THAT(errors.out, ::testing::HasSubstr(":1:8: error: EXTERNAL file: 'test41.par' does not exist!"));
    ToolRun warning = run(dir, {"check", "--json", zmatrix});
    EXPECT_EQ(warning.status, 0);
    EXPECT_EQ(nlohmann::json::parse(warning.out)["findings"][0]["code"], "short-line-in-zmatrix");
    EXPECT_EQ(run(dir, {"check", "--warnings-as-errors", zmatrix}).status, 1);
    ToolRun none = run(dir, {"check", clean});
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(none.out, "");

    ToolRun xyz = run(dir, {"xyz", zmatrix});
    EXPECT_EQ(xyz.status, 0) << xyz.err;
    EXPECT_THAT(xyz.out, ::testing::StartsWith("6\nProperties=species:S:1:pos:R:3 charge=0 title=\"\"\nC 0 0 0\nO 1.4 1 1\n"
                                               "H -0.577002178942952 1.8167426066363168 1\n"));
    ToolRun elsewhere = run(dir, {"xyz", "-"}, "GEO_DAT=\"x.pdb\"\nt\nd\n");
    EXPECT_EQ(elsewhere.status, 1);
    EXPECT_EQ(elsewhere.err, "mopac-input: -: job 1: MOPAC takes the atoms from the file named by GEO_DAT=x.pdb\n");
}

}  // namespace
