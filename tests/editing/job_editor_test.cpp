// JobEditor: edits where MOPAC reads, every other byte kept, on worked
// examples and on every corpus file that MOPAC reads without a fault.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/temp_dir.hpp"
#include "corpus.hpp"
#include "vesk/input/mopac/catalogue.hpp"
#include "vesk/input/mopac/document.hpp"
#include "vesk/input/mopac/job_editor.hpp"

namespace vesk::input::mopac {
namespace {

using Edit = std::function<void(JobEditor&)>;

struct EditCase {
    const char* before;
    Edit edit;
    const char* after;
};

TEST(job_editor, changes_only_the_words_asked_for) {
    const auto charge = [](int c) { return [c](JobEditor& e) { e.set_charge(c); }; };
    const auto method = [](const char* m) { return [m](JobEditor& e) { e.set_method(m); }; };
    const auto spin = [](unsigned m) { return [m](JobEditor& e) { e.set_multiplicity(m); }; };
    const auto aux = [](int p) { return [p](JobEditor& e) { e.set_auxiliary_output(p); }; };
    const EditCase cases[] = {
        {"* c\r\nPM7 CHARGE=0 +\r\nUHF\r\nt\r\n\r\nO 0 0 0\r\n", charge(1), "* c\r\nPM7 CHARGE=1 +\r\nUHF\r\nt\r\n\r\nO 0 0 0\r\n"},
        {"PM7  charge = 1\tUHF\rt\rd\rO\r", charge(-1), "PM7  charge = -1\tUHF\rt\rd\rO\r"},
        {"GNORM=1 +\nX\nt\nd\nO\n", charge(2), "GNORM=1 +\nX CHARGE=2\nt\nd\nO\n"},
        {"PM7 &\nUHF\nd\nO\n", charge(2), "PM7 &\nUHF CHARGE=2\nd\nO\n"},
        {"PM7 ++\nUHF\nt\nd\nO\n", charge(2), "PM7 ++\nUHF CHARGE=2\nt\nd\nO\n"},
        {"CHARGE=1 +\nUHF\nt\nd\nO\n", [](JobEditor& e) { e.remove_keyword("charge"); }, " +\nUHF\nt\nd\nO\n"},
        {"pm8 gnorm=1\nt\nd\nO\n", method("PM6"), "PM6 gnorm=1\nt\nd\nO\n"},
        {"  GNORM=1\nt\nd\nO\n", method("PM6"), "  PM6 GNORM=1\nt\nd\nO\n"},
        {"AM1 X MNDO-D PM5\nt\nd\nO\n", method("PM6"), "PM6 X\nt\nd\nO\n"},
        {"PM7 RHF SINGLET\nt\nd\nO\n", spin(2), "PM7 RHF DOUBLET\nt\nd\nO\n"},
        {"PM7 MS=0 TRIPLET\nt\nd\nO\n", spin(2), "PM7 DOUBLET\nt\nd\nO\n"},
        {"PM7 RHF\nt\nd\nO\n", spin(3), "PM7 UHF TRIPLET\nt\nd\nO\n"},
        {"INDO SINGLET\nt\nd\nO\n", spin(3), "INDO TRIPLET\nt\nd\nO\n"},  // INDO takes no UHF
        {"PM7 SINGLET\nt\nd\nO\n", spin(12), "PM7 MS=5.5 UHF\nt\nd\nO\n"},
        {"PM7 OPEN(2,2) SINGLET\nt\nd\nO\n", spin(3), "PM7 OPEN(2,2) TRIPLET\nt\nd\nO\n"},
        {"PM7 UHF BIRADICAL\nt\nd\nO\n", spin(1), "PM7 UHF SINGLET\nt\nd\nO\n"},
        {"PM7 AUX(MOS=10,PRECISION=9,XP)\nt\nd\nO\n", aux(6), "PM7 AUX(MOS=10,PRECISION=6,XP)\nt\nd\nO\n"},
        {"PM7 aux\nt\nd\nO\n", aux(6), "PM7 aux(PRECISION=6)\nt\nd\nO\n"},
        {"PM7\nt\nd\nO\n", [](JobEditor& e) { e.set_auxiliary_output(0, true); }, "PM7 AUX(PRECISION=0,XP,XS,XW)\nt\nd\nO\n"},
        {"PM7\nt\nd\nO\n\nAM1\nt2\nd2\nO\n", method("RM1"), "RM1\nt\nd\nO\n\nRM1\nt2\nd2\nO\n"},
        {"PM7\nt\nd\nO\n", [](JobEditor& e) { e.set_title("water"); e.set_description(""); }, "PM7\nwater\n\nO\n"},
    };
    for (const EditCase& c : cases) {
        SCOPED_TRACE(c.before);
        JobEditor editor{std::string(c.before)};
        editor.allow_new_errors();  // these few atoms have any number of electrons
        c.edit(editor);
        EXPECT_EQ(editor.text(), c.after);
        c.edit(editor);  // the same edit again changes nothing more
        EXPECT_EQ(editor.text(), c.after);
    }
    // An .arc file is edited behind its marker, where MOPAC reads.
    ReadOptions arc;
    arc.arc = true;
    JobEditor arc_editor("PM3 summary\nFINAL GEOMETRY OBTAINED\nPM7\nt\nd\nO\n", arc);
    arc_editor.set_method("PM6");
    EXPECT_EQ(arc_editor.text(), "PM3 summary\nFINAL GEOMETRY OBTAINED\nPM6\nt\nd\nO\n");
}

TEST(keyword_word_problem, refuses_what_would_not_read_back_as_one_keyword) {
    const std::pair<std::string, std::string> cases[] = {
        {"PM7", ""},
        {"PM6-DH+", ""},
        {"T='a b'", ""},
        {"AUX(PRECISION=9, XP)", ""},
        {"a)", ""},  // a ')' at depth 0 is an ordinary byte
        {" PM7 ", ""},
        {"", "is empty"},
        {"X +", "holds a blank outside quotes or parentheses"},
        {"A\x0b" "B", "holds a blank outside quotes or parentheses"},
        {"A\nB", "holds a line break"},
        {"'X", "leaves a quote or parenthesis open, which would take in the keywords behind it"},
        {"GEO(1", "leaves a quote or parenthesis open, which would take in the keywords behind it"},
        {"+", "starts with '+', which MOPAC reads as the mark that continues the keyword line"},
        {"+1", "starts with '+', which MOPAC reads as the mark that continues the keyword line"},
        {"X++", "holds \"++\", which MOPAC reads as joining the next line"},
        {"A&B", "holds '&', which makes MOPAC read the next line as keywords"},
        {"*X", "starts with '*': MOPAC skips a keyword line that starts so"},
    };
    for (const auto& [word, problem] : cases) EXPECT_EQ(keyword_word_problem(word), problem) << word;
    EXPECT_EQ(head_line_problem("water, optimised  "), "");
    EXPECT_EQ(head_line_problem("New\nline"), "holds a line break");
    EXPECT_EQ(head_line_problem("a\rb"), "holds a line break");
    EXPECT_EQ(head_line_problem("* note"), "starts with '*': MOPAC skips such a line as a comment");
}

TEST(job_editor, refuses_what_mopac_would_read_otherwise_and_changes_nothing) {
    const std::pair<Edit, const char*> refusals[] = {
        {[](JobEditor& e) { e.set_title("a\nb"); }, "MOPAC title holds a line break"},
        {[](JobEditor& e) { e.set_description("* x"); }, "MOPAC description starts with '*': MOPAC skips such a line as a comment"},
        {[](JobEditor& e) { e.add_keyword("X +"); }, "MOPAC keyword holds a blank outside quotes or parentheses"},
        {[](JobEditor& e) { e.add_keyword("'X"); }, "MOPAC keyword leaves a quote or parenthesis open, which would take in the keywords behind it"},
        {[](JobEditor& e) { e.add_keyword("+X"); }, "MOPAC keyword starts with '+', which MOPAC reads as the mark that continues the keyword line"},
        {[](JobEditor& e) { e.set_method(" "); }, "MOPAC method is empty"},
        {[](JobEditor& e) { e.set_multiplicity(0); }, "MOPAC multiplicity must be positive"},
        {[](JobEditor& e) { e.set_auxiliary_output(19); }, "MOPAC AUX precision must be between 0 and 18"},
        {[](JobEditor& e) { e.set_keyword("CHARGE", "1 2"); },
         "MOPAC keyword value holds a blank outside quotes or parentheses"},
    };
    const std::string text = "PM7 +\nUHF\nt\nd\nO 0 0 0\n";
    for (const auto& [edit, message] : refusals) {
        JobEditor editor(text);
        EXPECT_THAT([&] { edit(editor); }, ::testing::ThrowsMessage<std::invalid_argument>(::testing::StrEq(message)));
        EXPECT_EQ(editor.text(), text);
    }
    JobEditor amp("PM7 & X\nUHF\nd\nO\n");
    EXPECT_THROW(amp.set_title("t"), std::invalid_argument);  // this head has no title line
    EXPECT_THROW(JobEditor("PM7\nt\nd\nO\n").set_charge(1, 3), std::out_of_range);
}

// Edits that are recorded but cannot read back as asked: the proof refuses
// them when the text is asked for, names what differs, and nothing changes,
// on disk either.
TEST(job_editor, proof_refuses_results_that_read_back_otherwise) {
    const std::string water = "PM7 CHARGE=0 SINGLET\nwater\n\nO 0 0 0\nH 0.96 0 0\nH -0.24 0.93 0\n";
    const std::string open_aux = "PM7 AUX(PRECISION=9\nwater\n\nO 0 0 0\nH 0.96 0 0\nH -0.24 0.93 0\n";
    // Without PM7, line 1 starts with '*': a comment, and the head moves down.
    const std::string marked = "PM7 *X +\nSINGLET\nwater\n\nO 0 0 0\nH 0.96 0 0\nH -0.24 0.93 0\n";
    struct Refusal {
        const std::string& text;
        Edit edit;
        const char* message;
    };
    const Refusal refusals[] = {
        {water, [](JobEditor& e) { e.set_title(std::string(300, 't')); }, "job 1: MOPAC would read the title as"},
        {water, [](JobEditor& e) { e.add_keyword("CHARGE=2"); }, "job 1: CHARGE would be given 2 times, not once"},
        {water, [](JobEditor& e) { e.add_keyword(std::string(2000, 'X')); }, "job 1: line 1 would be longer than the 2000 bytes"},
        {water, [](JobEditor& e) { e.set_method("PM6"); e.add_keyword("AM1"); }, "job 1: MOPAC would read the methods"},
        {water, [](JobEditor& e) { e.set_charge(1); },
         "the edit gives an error the file did not have: line 1: SINGLET SPECIFIED WITH ODD NUMBER OF ELECTRONS"},
        {water, [](JobEditor& e) { e.set_multiplicity(2); },
         "the edit gives an error the file did not have: line 1: DOUBLET SPECIFIED WITH EVEN NUMBER OF ELECTRONS"},
        {open_aux, [](JobEditor& e) { e.add_keyword("PRECISE"); }, "job 1: MOPAC would read the keywords as"},
        {water, [](JobEditor& e) { e.add_keyword("A0"); }, "job 1: MOPAC would read or place the atoms otherwise"},
        {water, [](JobEditor& e) { e.set_multiplicity(1); e.add_keyword("TRIPLET"); }, "job 1: MOPAC would read the spin from"},
        {water, [](JobEditor& e) { e.set_auxiliary_output(6); e.add_keyword("AUX(PRECISION=9)"); },
         "job 1: MOPAC would not read the AUX options as asked"},
        {marked, [](JobEditor& e) { e.remove_keyword("PM7"); }, "MOPAC would read line 1 otherwise"},
    };
    vesk::test_support::TempDir folder;
    const std::string path = folder.path() + "/out.mop";
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.message);
        JobEditor editor(refusal.text);
        refusal.edit(editor);
        EXPECT_THAT([&] { editor.write_file(path); },
                    ::testing::ThrowsMessage<EditRefused>(::testing::StartsWith(refusal.message)));
        EXPECT_EQ(editor.text(), refusal.text);
        EXPECT_FALSE(editor.changed());
        EXPECT_FALSE(std::ifstream(path).good());
    }
    JobEditor forced(water);  // the caller's own choice, as the tool's --force
    forced.allow_new_errors();
    forced.set_charge(1);
    EXPECT_NE(forced.text().find("CHARGE=1"), std::string::npos);
}

// The lines that are no keyword lines, with their roles, bytes and ends.
std::vector<std::string> other_lines(const MopacJob& job) {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < job.lines().size(); ++i) {
        const JobLine& line = job.lines()[i];
        if (line.role == LineRole::keywords) continue;
        lines.push_back(std::to_string(static_cast<int>(line.role)) + ":" + std::to_string(static_cast<int>(line.end)) +
                        ":" + std::string(job.line_text(i + 1)));
    }
    return lines;
}

// Method, charge, spin and AUX set on every corpus file MOPAC reads, edited
// in place and laid out anew: the result reads back as asked, with the same
// atoms bit for bit and every other line as it was.
TEST(job_editor, edits_every_corpus_file_mopac_reads) {
    const std::vector<std::string> names = vesk::testing::corpus_files();
    if (names.empty()) GTEST_SKIP() << "\n*** SKIPPED: no corpus under " VESK_CORPUS_DIR " ***";
    std::size_t edited = 0;
    std::size_t laid_out = 0;
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const MopacJob original = read_job_file(VESK_CORPUS_DIR "/" + name);
        if (original.has_errors()) continue;
        for (const bool layout : {false, true}) {
            JobEditor editor(original);
            editor.allow_new_errors();  // a charge of 1 may not suit the atoms' electrons
            const auto edit = [&editor, layout] {
                editor.set_method("PM6");
                editor.set_charge(1);
                editor.set_multiplicity(2);
                editor.set_auxiliary_output(6);
                if (layout) editor.lay_out_keywords(60);
            };
            edit();
            std::string once;
            try {
                once = editor.text();
            } catch (const EditRefused& refused) {
                ADD_FAILURE() << (layout ? "laid out: " : "in place: ") << refused.what();
                continue;
            }
            edit();
            ASSERT_EQ(editor.text(), once);
            const MopacJob& result = editor.job();
            EXPECT_EQ(other_lines(result), other_lines(original));
            // The editor reads only the heads again: the same as reading the text whole.
            const MopacJob whole = read_job(result.text(), result.options());
            EXPECT_TRUE(whole.lines() == result.lines() && whole.jobs() == result.jobs() &&
                        whole.diagnostics() == result.diagnostics());
            for (std::size_t k = 0; k < result.jobs().size(); ++k) {
                const Job& job = result.jobs()[k];
                std::vector<std::string> methods;
                for (const JobKeyword& keyword : job.keywords) {
                    if (is_mopac_method(normalize_keyword_name(keyword.text))) methods.push_back(keyword.text);
                }
                EXPECT_EQ(methods, std::vector<std::string>{"PM6"});
                EXPECT_EQ(job.keyword_value("CHARGE"), "1");
                EXPECT_TRUE(job.keyword_value("MS") == "0.5" || job.has_keyword("DOUBLET"));
                const vesk::core::Geometry before = original.geometry(k);
                const vesk::core::Geometry after = result.geometry(k);
                ASSERT_EQ(before.atoms.size(), after.atoms.size());
                for (std::size_t a = 0; a < before.atoms.size(); ++a) {
                    EXPECT_TRUE(before.atoms[a].x == after.atoms[a].x && before.atoms[a].y == after.atoms[a].y &&
                                before.atoms[a].z == after.atoms[a].z);
                }
            }
            ++(layout ? laid_out : edited);
        }
    }
    EXPECT_GT(edited, 1400u);
    EXPECT_EQ(laid_out, edited);
}

}  // namespace
}  // namespace vesk::input::mopac
