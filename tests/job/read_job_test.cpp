// The reading as MOPAC reads it: lines, heads, geometry lines, positions and
// diagnostics, on worked examples.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "vesk/input/mopac/job.hpp"

namespace vesk::input::mopac {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> codes(const MopacJob& job) {
    std::vector<std::string> found;
    for (const Diagnostic& d : job.diagnostics()) {
        found.push_back(std::to_string(d.line) + (d.severity == Severity::error ? " E " : " W ") + d.code);
    }
    return found;
}

std::string roles(const MopacJob& job) {
    static const char letters[] = "cskTdGeSvDult";  // one letter a LineRole
    std::string out;
    for (const JobLine& line : job.lines()) out += letters[static_cast<int>(line.role)];
    return out;
}

TEST(read_job, cuts_lines_at_lf_crlf_and_lone_cr) {
    const MopacJob job = read_job("PM7\r\rt\r\nx\n");
    ASSERT_EQ(job.lines().size(), 4u);
    EXPECT_EQ(job.lines()[0].end, LineEnd::cr);
    EXPECT_EQ(job.line_text(2), "");  // CR CR: the line and one empty line
    EXPECT_EQ(job.lines()[2].end, LineEnd::crlf);
    EXPECT_EQ(job.lines()[3].end, LineEnd::lf);
    EXPECT_EQ(read_job("a\nb").lines().back().end, LineEnd::none);
    EXPECT_EQ(read_job("a\r").lines().back().end, LineEnd::cr);
    EXPECT_EQ(roles(read_job("*\nPM7\n*x\nt\nd\n")).substr(0, 3), "ckc");
    EXPECT_TRUE(read_job("").lines().empty());
    // 2000 bytes and a lone CR: the rest up to the next LF is never read.
    const MopacJob long_line = read_job(std::string(2100, 'A') + "\rlost\rlost too\nPM7\n");
    EXPECT_EQ(roles(long_line).substr(0, 3), "kll");
    EXPECT_THAT(codes(long_line), ::testing::Contains("1 W line-too-long"));
}

struct HeadCase {
    const char* text;
    HeadForm form;
    const char* roles;
    std::vector<std::string> keywords;
    const char* title;
    const char* description;
};

TEST(read_job, reads_the_head_in_each_form) {
    const HeadCase cases[] = {
        {"* note\nPM7 MS = 1\nt\nd\nH 0 0 0\n", HeadForm::plain, "ckTdG", {"PM7", "MS=1"}, "t", "d"},
        {"PM7 +\n+ CHARGE=1\nT=1\nt\nd\nH\n", HeadForm::plus, "kkkTdG", {"PM7", "CHARGE=1", "T=1"}, "t", "d"},
        {"PM7 +1\nUHF\nt\nd\nH\n", HeadForm::plus, "kkTdG", {"PM7", "+1", "UHF"}, "t", "d"},
        {"PM7 'a +'\nt\nd\nH\n", HeadForm::plus, "kkTd", {"PM7", "'A +'", "T"}, "d", "H"},
        {"PM7 & X\nUHF\nd\nH\n", HeadForm::ampersand, "kkdG", {"PM7", "X", "UHF"}, "", "d"},
        {"PM7 &\nUHF &\nGNORM=1\nH\n", HeadForm::ampersand, "kkkG", {"PM7", "UHF", "GNORM=1"}, "", ""},
        {"PM7 ++\nUHF++\nX\nt\nd\nH\n", HeadForm::double_plus, "kkkTdG", {"PM7", "UHFX"}, "t", "d"},
        // '+' pairs from the left; a '+' left at the end pairs with one in front of the next line.
        {"A+++\n+B\nt\nd\nH\n", HeadForm::double_plus, "kkkTd", {"A", "B", "T"}, "d", "H"},
        {"PM7 ++\n  ++\nX\nt\nd\nH\n", HeadForm::double_plus, "kkkTdG", {"PM7", "X"}, "t", "d"},
        {"++B\nC\nt\nd\nH\n", HeadForm::double_plus, "kkTdG", {"BC"}, "t", "d"},
        {"geo-dat=\"a b.xyz\" SETUP\nt\nd\n", HeadForm::setup, "kTd", {"GEO_DAT=\"A B.XYZ\"", "SETUP"}, "t", "d"},
    };
    for (const HeadCase& c : cases) {
        SCOPED_TRACE(c.text);
        const MopacJob job = read_job(c.text);
        ASSERT_FALSE(job.jobs().empty());
        const Job& first = job.jobs()[0];
        EXPECT_EQ(first.head, c.form);
        EXPECT_EQ(roles(job).substr(0, std::string(c.roles).size()), c.roles);
        std::vector<std::string> keywords;
        for (const JobKeyword& k : first.keywords) keywords.push_back(k.text);
        EXPECT_EQ(keywords, c.keywords);
        EXPECT_EQ(first.title.text, c.title);
        EXPECT_EQ(first.description.text, c.description);
    }
    const MopacJob three = read_job("A +\nB +\nC +\nt\nd\nH\n");
    EXPECT_THAT(codes(three), ElementsAre("3 E too-many-keyword-lines"));
}

TEST(read_job, joins_a_long_double_plus_head_in_linear_time) {
    // Joined again in full at every line, this head took hours.
    std::string text = "PM7 ++\n";
    for (int i = 0; i < 200000; ++i) text += "A++\n";
    const MopacJob job = read_job(text + "X\nt\nd\nH\n");
    const Job& first = job.jobs().at(0);
    EXPECT_EQ(first.keyword_line_count, 200002u);
    EXPECT_EQ(first.title.line, 200003u);
    ASSERT_EQ(first.keywords.size(), 2u);
    EXPECT_EQ(first.keywords[1].text, std::string(2996, 'A'));  // "PM7 AAA...": MOPAC keeps 3000 bytes
    ASSERT_EQ(job.diagnostics().size(), 1u);
    EXPECT_EQ(job.diagnostics()[0].code, "keywords-too-long");
    EXPECT_EQ(job.diagnostics()[0].line, 2998u);  // byte 3001 is the 'A' of line 2998
    EXPECT_EQ(job.diagnostics()[0].column, 1u);
    // Blank lines each start a job that holds no atoms; neither the end of
    // the jobs nor the .arc marker is searched for again behind every one.
    std::string blanks = "PM7\nt\nd\nH 0 0 0\n";
    blanks.append(200000, '\n');
    EXPECT_EQ(read_job(blanks + "X\n").jobs().size(), 50001u);
}

TEST(read_job, names_the_first_column_mopac_drops) {
    const std::string geometry_end = "C 0 0 0" + std::string(234, ' ');  // 241 bytes
    const std::pair<std::string, std::string> cases[] = {
        {"PM7\n" + std::string(250, 'x') + "\nd\nH\n", "2 W text-too-long 201"},
        {"PM7\n\t" + std::string(250, 'x') + "\nd\nH\n", "2 W text-too-long 194"},  // the tab is 8 columns
        {"PM7\nt\nd\n" + geometry_end + "99\n", "4 W geometry-line-too-long 242"},
        {"PM7\nt\nd\n\t" + geometry_end.substr(8) + "99\n", "4 W geometry-line-too-long 235"},
        {"PM7 " + std::string(2100, 'x') + "\nt\nd\nH\n", "1 W line-too-long 2001"},
        {"\tPM7 " + std::string(2100, 'x') + "\nt\nd\nH\n", "1 W line-too-long 2001"},  // tabs are expanded later
    };
    for (const auto& [text, expected] : cases) {
        std::vector<std::string> found;
        const MopacJob job = read_job(text);
        for (const Diagnostic& d : job.diagnostics()) {
            found.push_back(std::to_string(d.line) + " W " + d.code + " " + std::to_string(d.column));
        }
        EXPECT_THAT(found, ::testing::Contains(expected)) << text.substr(0, 20);
    }
    // Blanks behind column 241 lose nothing.
    EXPECT_THAT(codes(read_job("PM7\nt\nd\nC 0 0 0" + std::string(300, ' ') + "\n")), ::testing::IsEmpty());
}

TEST(read_job, records_compare_member_by_member) {
    const std::string text = "PM7 CHARGE=1\nt\nd\nO\nH 1.0 1 0 0 0 0 1\nHp 1.0 1 90 1 0 0 1 2\n";
    const MopacJob a = read_job(text);
    const MopacJob b = read_job(text);
    EXPECT_EQ(a.lines(), b.lines());
    EXPECT_EQ(a.jobs(), b.jobs());
    EXPECT_EQ(a.diagnostics(), b.diagnostics());
    EXPECT_EQ(a.atoms(), b.atoms());
    const MopacJob c = read_job("PM7 CHARGE=2" + text.substr(12));
    EXPECT_NE(c.jobs(), a.jobs());
    EXPECT_EQ(c.atoms(), a.atoms());
    EXPECT_NE(c.atoms()[2], a.atoms()[1]);
}

TEST(read_job, places_keywords_at_their_line_and_column) {
    const MopacJob job = read_job("* c\n\tPM7  charge = 1 +\nuhf\nt\nd\nH\n");
    const Job& first = job.jobs()[0];
    ASSERT_EQ(first.keywords.size(), 3u);
    EXPECT_EQ(first.keywords[1].text, "CHARGE=1");
    EXPECT_EQ(first.keywords[1].line, 2u);
    EXPECT_EQ(first.keywords[1].column, 7u);  // the tab is one byte in the file
    EXPECT_EQ(first.keywords[1].length, 10u);
    EXPECT_EQ(first.keywords[2].line, 3u);
    EXPECT_EQ(first.keyword_value("charge"), "1");
    EXPECT_TRUE(first.has_keyword("UHF"));
}

struct AtomCase {
    const char* line;
    int atomic_number;
    const char* label;
    double mass;
    CoordinateForm form;
    std::array<double, 3> values;
    std::array<int, 3> flags;
    const char* extra;
};

TEST(read_job, reads_geometry_lines_field_by_field) {
    using F = CoordinateForm;
    const AtomCase cases[] = {
        {"Cl(on C5)34.96885 1.0 1 0 0 0 0", 17, "on C5", 34.96885, F::cartesian, {1, 0, 0}, {1, 0, 0}, ""},
        {"C13 1,2,3", 6, "", 13, F::cartesian, {1, 2, 3}, {1, 1, 1}, ""},
        {"SCOPE 1 0 2 0 3 0", 21, "", 0, F::cartesian, {1, 2, 3}, {0, 0, 0}, ""},
        {"6 1 1 2 1 3 1 0 0 0 -0.5", 6, "", 0, F::cartesian, {1, 2, 3}, {1, 1, 1}, "0 0 0 -0.5"},
        {"+3 0 0 0", 100, "", 0, F::cartesian, {0, 0, 0}, {1, 1, 1}, ""},
        {"-3 0 0 0", 106, "", 0, F::cartesian, {0, 0, 0}, {1, 1, 1}, ""},
        {"-- 1 0 0", 105, "", 0, F::cartesian, {1, 0, 0}, {1, 1, 1}, ""},
        {"X1 1.0-2.0 3", 99, "", 0, F::cartesian, {1, -2, 3}, {1, 1, 1}, ""},
        {"D 0 0 0", 1, "", 2.014, F::cartesian, {0, 0, 0}, {1, 1, 1}, ""},
        {"t 0 0 0", 1, "", 3.016, F::cartesian, {0, 0, 0}, {1, 1, 1}, ""},
        {"Tv 1.5D1 0 0", 107, "", 0, F::cartesian, {15, 0, 0}, {1, 1, 1}, ""},
        {"H 1.1 1 120 1 30 1 1 2 3 0.4", 1, "", 0, F::internal, {1.1, 120, 30}, {1, 1, 1}, "0.4"},
        {"H 1.1 1 120 1 30 1 1.0", 1, "", 0, F::cartesian, {1.1, 120, 30}, {1, 1, 1}, "1.0"},
    };
    for (const AtomCase& c : cases) {
        SCOPED_TRACE(c.line);
        // Three atoms in front, so that the line is atom 4.
        const MopacJob job = read_job(std::string("PM7\nt\nd\nO\nC 1 1 1 0 0 0 1\nC 1 1 9 1 0 0 1 2\n") + c.line + "\n");
        const std::vector<JobAtom> atoms = job.atoms();
        ASSERT_EQ(atoms.size(), 4u);
        const JobAtom& atom = atoms[3];
        EXPECT_EQ(atom.line, 7u);
        EXPECT_EQ(atom.atomic_number, c.atomic_number);
        EXPECT_EQ(atom.label, c.label);
        EXPECT_EQ(atom.isotope_mass, c.mass);
        EXPECT_EQ(atom.form, c.form);
        EXPECT_EQ(atom.values, c.values);
        EXPECT_EQ(atom.flags, c.flags);
        EXPECT_EQ(atom.extra, c.extra);
    }
}

TEST(read_job, finds_what_mopac_stops_on_in_the_geometry) {
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"Hp 0 0 0\n", {"4 E unknown-element"}},
        {"200 0 0 0\n", {"4 E illegal-atomic-number"}},
        {"C(label 0 0 0\n", {"4 E missing-parenthesis"}},
        {"C 0 0 0\nH 1 2 0 0 0 0 0\n", {"5 E flag-out-of-range"}},
        {"C 0 0 0\nH 1 2 0 0 0 0\n", {}},  // lines of 7 fields are not checked
        {"C 0 0 0\nH 1.5 T 1 T 0 T\n", {"5 E geometry-faulty"}},
        {"C 0 0 0\nTv 5 0 0\nH 0 0 1\n", {"6 E atom-after-translation-vector"}},
        {"C\nH 1 1 0 0 0 0 2\n", {"5 E ill-defined-atom"}},
        {"C\nH 1 1 0 0 0 0 1\nH 1 1 0 0 0 0 1 2\nH 1 1 90 1 0 0 3 3 1\n", {"7 E ill-defined-atom"}},
        {"C\nH 1 1 0 0 0 0 1\nH 1 1 90 1 0 0 1 2\nH 0 0 0\nH 1 1 90 1 0 0 4 1 2\n",
         {"7 W short-line-in-zmatrix", "8 E coincident-atoms"}},
        {"C\nH 1 1 0 0 0 0 1\nN 1.3 1 1\n", {"6 W short-line-in-zmatrix"}},
        {"\n", {"4 E no-atoms"}},
    };
    for (const auto& [geometry, expected] : cases) {
        EXPECT_EQ(codes(read_job(std::string("PM7\nt\nd\n") + geometry)), expected) << geometry;
    }
    EXPECT_THAT(codes(read_job("PM7 MINI\nt\nd\nC 0 0 0\nH 1 2 0 0 0 0 0\n")), ::testing::IsEmpty());
    EXPECT_THAT(codes(read_job("OLDGEO\nt\nd\n")), ElementsAre("1 E oldgeo-first-job"));
}

TEST(read_job, ends_the_geometry_where_mopac_does) {
    // The line behind one atom: 'e' ends the geometry, 'G' is an atom.
    const std::pair<const char*, char> cases[] = {
        {" NEXT", 'e'},       {"C 1 0 0 next", 'e'},  {"\tNext", 'e'},      {"C 1,0 0 NEXT", 'e'},
        {"0 1 0 0", 'e'},     {"  ", 'e'},           {"NEXT 1 0 0", 'G'}, {"C 1 0 0 XNEXT", 'G'},
        {"N 1 0 0", 'G'},     {"Na 1 2 3 n", 'G'},   {"n 1 -2 3", 'G'},   {"C 1 0 0 -NEXT", 'G'},
    };
    for (const auto& [line, role] : cases) {
        const MopacJob job = read_job(std::string("PM7\nt\nd\nC 0 0 0\n") + line + "\nH 2 0 0\n");
        EXPECT_EQ(roles(job).substr(3, 3), std::string("G") + role + (role == 'G' ? 'G' : 'k')) << line;
    }
}

void expect_near(const vesk::core::Atom& atom, const char* element, double x, double y, double z) {
    EXPECT_EQ(atom.element, element);
    EXPECT_NEAR(atom.x, x, 1e-12);
    EXPECT_NEAR(atom.y, y, 1e-12);
    EXPECT_NEAR(atom.z, z, 1e-12);
}

TEST(read_job, places_internal_coordinates_as_mopac_does) {
    // Water: O at the origin, H on +x, H in the xy plane; a dummy is placed and dropped.
    const MopacJob water = read_job(
        "PM7\nt\nd\nO\nH 1.0 1 0 0 0 0 1\nH 1.0 1 90 1 0 0 1 2\nXX 1.0 1 90 1 90 1 1 2 3\n");
    const vesk::core::Geometry g = water.geometry();
    ASSERT_EQ(g.atoms.size(), 3u);
    expect_near(g.atoms[1], "H", 1, 0, 0);
    expect_near(g.atoms[2], "H", std::cos(90 * 1.7453292519943e-2), 1, 0);
    // A dihedral of +90: clockwise seen along the bond from atom 2 to atom 3 (IUPAC).
    const MopacJob four = read_job(
        "PM7\nt\nd\nC\nC 1 1 0 0 0 0 1\nC 1 1 90 1 0 0 2 1\nH 1 1 90 1 90 1 3 2 1\n");
    expect_near(four.geometry().atoms[3], "H", 1, 1, 1);
    // Atom 3 from the short form "r f a f 2 1", next to a Cartesian atom 2.
    const MopacJob short_form = read_job("PM7\nt\nd\nC\nN 1.5 1 1\nN 2 1 90 1 2 1\n");
    expect_near(short_form.geometry().atoms[2], "N", 1.5 - 2 * std::cos(90 * 1.7453292519943e-2), 3, 1);
    // x y z El lines switch the lengths to Bohr.
    const MopacJob bohr = read_job("PM7\nt\nd\n0 0 0 C\n2 0 0 O\n");
    expect_near(bohr.geometry().atoms[1], "O", 2 * 0.529177210903, 0, 0);
    // Translation vectors apart; the same in a Gaussian Z-matrix with symbols.
    const MopacJob polymer = read_job("PM7\nt\nd\nC 0 0 0\nTv 2.5 0 0\n");
    EXPECT_EQ(polymer.geometry().atoms.size(), 1u);
    EXPECT_EQ(polymer.translation_vectors(), (std::vector<std::array<double, 3>>{{2.5, 0, 0}}));
    const MopacJob gaussian = read_job("AIGIN\nt\nd\nO\nH 1 R\nH 1 R 2 A\n\nR 1.0\nA 90.0\n");
    EXPECT_THAT(codes(gaussian), ::testing::IsEmpty());
    expect_near(gaussian.geometry().atoms[2], "H", 1.0 * std::cos(90 * 1.7453292519943e-2), 1, 0);
}

// Atoms of lines too short to keep are streamed from the lines when asked:
// the same atoms, scaled the same, as the placement of the whole job.
TEST(read_job, streams_the_atoms_it_does_not_keep) {
    std::string text = "PM7 A0\nt\nd\n";
    for (int i = 0; i < 3000; ++i) text += "C\n";
    text += "H 2 3 4\n";
    const MopacJob job = read_job(text);
    const vesk::core::Geometry whole = job.geometry();
    ASSERT_EQ(whole.atoms.size(), 3001u);
    std::size_t n = 0;
    EXPECT_TRUE(job.for_each_atom(0, [&](int number, const std::array<double, 3>& at) {
        const vesk::core::Atom& atom = whole.atoms[n++];
        EXPECT_TRUE(element_symbol(number) == atom.element && at[0] == atom.x && at[1] == atom.y && at[2] == atom.z);
    }));
    EXPECT_EQ(n, 3001u);
    EXPECT_NEAR(whole.atoms.back().x, 2 * 0.529177, 1e-5);
    EXPECT_FALSE(read_job("PM7\nt\nd\nQq 1 2 3\n").for_each_atom(0, [](int, const std::array<double, 3>&) { FAIL(); }));
}

TEST(read_job, applies_symmetry_before_placing) {
    // Internal: bond 2 to atom 3, angle 2 to atom 3, dihedral "-" of atom 4 to 5.
    const MopacJob internal = read_job(
        "PM7 SYMMETRY\nt\nd\nC\nO 1.2 1 0 0 0 0 1\nH 1.1 1 120 1 0 0 1 2\nH 9 1 9 1 180 1 1 2 3\n\n3 1 4\n3 2 4\n\n");
    EXPECT_THAT(codes(internal), ::testing::IsEmpty());
    EXPECT_EQ(internal.lines()[9].role, LineRole::symmetry);
    const vesk::core::Geometry g = internal.geometry();
    EXPECT_NEAR(std::hypot(g.atoms[3].x, g.atoms[3].y), 1.1, 1e-12);
    // Cartesian: 4 is x = -x, 9 is z = x, 14 is y = x, 17 is y = -x of the reference.
    const MopacJob cartesian = read_job(
        "PM7 SYMM\nt\nd\nC 0 0 0\nH .7 .5 .3\nH 0 0 0\n\n2 4 3\n2 9 3\n2 17 3\n\n");
    expect_near(cartesian.geometry().atoms[2], "H", -0.7, -0.7, 0.7);
    // Without the keyword, lines of numbers behind the geometry change no
    // atom, also in a Z-matrix of lines too short for its placement to be kept.
    std::string zmatrix = "PM7\nt\nd\nC\nC 1.2 1 0 0 0 0 1\nC 1.5 1 109 1 0 0 2 1\n";
    for (int i = 4; i <= 400; ++i) zmatrix += "C 1 99 " + std::to_string(i / 2) + (i % 2 ? ".5" : "") + " 1 2 3\n";
    const vesk::core::Geometry plain = read_job(zmatrix).geometry();
    const vesk::core::Geometry with_numbers = read_job(zmatrix + "\n2 1 3\n\n").geometry();
    ASSERT_EQ(plain.atoms.size(), 400u);
    EXPECT_EQ(with_numbers.atoms[2].x, plain.atoms[2].x);
}

TEST(read_job, reads_jobs_one_after_another) {
    const MopacJob job = read_job(
        "PM7\nt\nd\nH 0 0 0\nH 0.7 0 0\n\nOLDGEO PM6\nt2\nd2\nAM1 1SCF\nt3\nd3\nH 0 0 0\n\n\n");
    ASSERT_EQ(job.jobs().size(), 3u);
    EXPECT_EQ(job.jobs()[1].source, GeometrySource::previous_job);
    EXPECT_EQ(job.jobs()[2].title.text, "t3");
    EXPECT_EQ(job.jobs()[2].title.line, 11u);
    EXPECT_EQ(roles(job), "kTdGGekTdkTdGet");
    EXPECT_EQ(job.geometry(2).atoms.size(), 1u);
    EXPECT_TRUE(job.geometry(1).atoms.empty());
}

}  // namespace
}  // namespace vesk::input::mopac
