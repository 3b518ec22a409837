// The preflight check: one case per rule MOPAC applies, on benzene (30 core
// electrons), each with MOPAC's own message; the spin keywords an edit may
// write; files the input names; and the corpus against MOPAC's verdicts.
#include <gtest/gtest.h>

#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "check/findings.hpp"
#include "check/spin_forms.hpp"
#include "corpus.hpp"
#include "vesk/input/mopac/check.hpp"

namespace vesk::input::mopac {
namespace {

const char* const benzene =
    "Benzene\n\n"
    "C 0.0000 1.3970 0\nC 1.2098 0.6985 0\nC 1.2098 -0.6985 0\nC 0.0000 -1.3970 0\nC -1.2098 -0.6985 0\n"
    "C -1.2098 0.6985 0\nH 0.0000 2.4810 0\nH 2.1486 1.2405 0\nH 2.1486 -1.2405 0\nH 0.0000 -2.4810 0\n"
    "H -2.1486 -1.2405 0\nH -2.1486 1.2405 0\n";

// "E code: message" or "W code: message" for each finding.
std::vector<std::string> findings(const std::string& text, const CheckOptions& options = {}) {
    std::vector<std::string> found;
    for (const Diagnostic& d : check_job(read_job(text), options)) {
        found.push_back(std::string(d.severity == Severity::error ? "E " : "W ") + d.code + ": " + d.message);
    }
    return found;
}

// The rules, each cited from the MOPAC source that applies it: wrtkey.F90
// (wrtchk: keyword combinations, INDO; wrtcon: a charged unit cell) and
// moldat.F90 (electrons, spin, open shells, active space); meci.F90 (roots).
TEST(check_job, reports_each_rule_mopac_applies) {
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"1SCF", {}},
        {"1SCF CHARGE=1 UHF DOUBLET", {}},
        {"1SCF CHARGE=1 SEXTET", {}},  // odd: UHF by default spans any spin
        {"1SCF TRIPLET C.I.=2", {}},
        {"1SCF PM5 PM6", {}},
        {"1SCF PM6 PM6-D3H4", {}},
        {"1SCF OPEN(2,2) SINGLET ROOT=3", {}},
        {"1SCF CHARGE=1 TRIPLET", {"E spin-parity: TRIPLET SPECIFIED WITH ODD NUMBER OF ELECTRONS, CORRECT FAULT"}},
        {"1SCF DOUBLET", {"E spin-parity: DOUBLET SPECIFIED WITH EVEN NUMBER OF ELECTRONS, CORRECT FAULT"}},
        {"1SCF CHARGE=1 MS=1", {"E ms-parity: Value of MS not consistent with number of electrons"}},
        {"1SCF TRIPLET", {"E spin-not-spanned: SPECIFIED SPIN COMPONENT NOT SPANNED BY ACTIVE SPACE"}},
        {"1SCF MS=1", {"E spin-not-spanned: SPECIFIED SPIN COMPONENT NOT SPANNED BY ACTIVE SPACE"}},
        {"1SCF MS=1 TRIPLET", {"E ms-with-spin-state: MS cannot be used with other keywords that define spin"}},
        {"1SCF RHF UHF", {"E rhf-and-uhf: UHF and RHF cannot both be used"}},
        {"1SCF PM7 AM1", {"E several-methods: IMPOSSIBLE OPTION REQUESTED"}},
        {"1SCF CHRAGE=1", {"E unknown-keyword: UNRECOGNIZED KEY-WORDS: (CHRAGE=1)"}},
        {"1SCF PM7A", {"E unknown-method: The method requested: \"PM7A\" does not exist."}},
        {"1SCF CHARGE=1.5", {"E bad-charge: CHARGE must be a whole number: CHARGE=1.5"}},
        {"1SCF CHARGE=2 CHARGE=0", {"W repeated-keyword: CHARGE is given twice: MOPAC takes the first value"}},
        {"1SCF TRIPLET SINGLET", {"W several-spin-states: two spin states (SINGLET, TRIPLET): MOPAC takes SINGLET"}},
        {"1SCF UHF=2", {"W unexpected-value: UHF takes no value: MOPAC reads UHF=2 as UHF"}},
        {"1SCF CHARGE=1 UHF POLAR", {"E polar-uhf: POLAR does not work with UHF"}},
        {"1SCF CHARGE=1 POLAR", {"E uhf-by-default: POLAR used with a UHF system.  Add keyword RHF and re-run"}},
        {"1SCF UHF C.I.=2", {"E rhf-and-uhf: UHF and RHF cannot both be used",
                             "E uhf-with-ci: UHF USED WITH EITHER BIRAD, EXCITED OR C.I."}},
        {"INDO MS=1", {"E indo-refuses: MS= is incompatible with INDO"}},
        {"INDO UHF", {"E indo-refuses: UHF is incompatible with INDO"}},
        {"INDO SEXTET CHARGE=1", {"E indo-refuses: Spin is incompatible with INDO"}},
        {"PM6 C.A.S.=4", {"E indo-only: C.A.S. is only compatible with INDO"}},
        {"PM6 CIS", {"E no-ci: Keyword \"CIS\" used, but no C.I. defined"}},
        {"MOZYME UHF", {"E mozyme-uhf: Keyword UHF cannot be used with MOZYME"}},
        {"1SCF OPEN(1,2)", {"E open-shell-parity: IMPOSSIBLE NUMBER OF OPEN SHELL ELECTRONS"}},
        {"1SCF CHARGE=1 OPEN(2,2)", {"E open-shell-parity: IMPOSSIBLE NUMBER OF OPEN SHELL ELECTRONS"}},
        {"1SCF C.I.=30", {"E ci-size: Maximum size of open space = 29 M.O.s"}},
        {"1SCF OPEN(2,2) SINGLET ROOT=4", {"E root-missing: ROOT REQUESTED DOES NOT EXIST IN C.I."}},
        {"1SCF EXCITED RHF CHARGE=1", {"E odd-biradical: SYSTEM SPECIFIED WITH ODD NUMBER OF ELECTRONS, CORRECT FAULT"}},
        {"PM8", {"E missing-parameters: Parameters for some elements are missing: PM8 has none for H",
                 "E missing-parameters: Parameters for some elements are missing: PM8 has none for C"}},
    };
    for (const auto& [keywords, expected] : cases) {
        EXPECT_EQ(findings(std::string(keywords) + "\n" + benzene), expected) << keywords;
    }
}

// Each stop comes with what to write instead.
TEST(check_job, hints_what_to_write) {
    const std::pair<const char*, const char*> cases[] = {
        {"1SCF CHARGE=1 TRIPLET", "DOUBLET"}, {"1SCF MS=0.5", "MS=0"},      {"1SCF TRIPLET", "UHF"},
        {"1SCF OPEN(1,2)", "OPEN(2,2)"},      {"INDO MS=1", "TRIPLET"},      {"PM8", "PM7"},
        {"1SCF OPEN(2,2) SINGLET ROOT=4", "ROOT=3"}, {"MOZYME UHF", "RHF"}, {"1SCF PM7 AM1", "PM7"},
    };
    for (const auto& [keywords, expected] : cases) {
        const std::vector<Diagnostic> found = check_job(read_job(std::string(keywords) + "\n" + benzene));
        ASSERT_FALSE(found.empty()) << keywords;
        EXPECT_EQ(found[0].suggestion, expected) << keywords;
    }
}

// The charge of a job: the first CHARGE=, or that of the job before when
// OLDGEO takes its geometry; a solid's unit cell must be neutral.
TEST(check_job, takes_the_charge_as_mopac_does) {
    const std::string first = std::string("1SCF CHARGE=1 DOUBLET\n") + benzene + "\n";
    EXPECT_EQ(findings(first + "OLDGEO DOUBLET\nt\nd\n"), std::vector<std::string>{});
    EXPECT_EQ(findings(first + "OLDGEO SINGLET\nt\nd\n"),
              std::vector<std::string>{"E spin-parity: SINGLET SPECIFIED WITH ODD NUMBER OF ELECTRONS, CORRECT FAULT"});
    EXPECT_EQ(findings(std::string("1SCF CHARGE=1 CHARGE=0 DOUBLET\n") + benzene).size(), 1u);  // the repeat only
    EXPECT_EQ(findings("1SCF CHARGE=1\nt\nd\nH 0 0 0\nH 0.74 0 0\nTv 3 0 0\n"),
              std::vector<std::string>{"E charged-cell: Unit cell has a charge. Correct fault and re-submit "});
}

// Text MOPAC reads otherwise than it looks, and geometry lines read as MOPAC
// reads them (getgeo.F90: a Z-matrix line short of fields is Cartesian;
// getpdb.F90: the element of columns 77-78 only when it is a symbol).
TEST(check_job, finds_text_that_mopac_reads_otherwise) {
    const std::pair<std::string, std::string> cases[] = {
        {"PM7\nt\nd\nC 1,5 0 0\n", "W decimal-comma: a decimal comma: MOPAC reads 1,5 as two numbers"},
        {"PM7\n* the title\nt\nd\nH 0 0 0\n", "W comment-in-head: MOPAC drops this '*' line, so the next line is read as the title"},
        {"PM7 CHARGE= +1\nGNORM=1\nt\nd\nH 0 0 0\n", "W plus-in-word: \" +\" inside a word or quotes: MOPAC reads the next line as more keywords"},
        {std::string("PM7\nt\nd\nH 0 0 0\0\n", 16), "E not-text: the file holds NUL bytes: MOPAC input is text"},
        {"PM7\nt\nd\nO\nC 1.2 1 0 0 0 0 0 0 0\nH 1.1 1 123.5 1 2 1 0\nH 1.1 1 120 1 180 1 2 1 3\n",
         "W short-line-in-zmatrix: a line of 8 fields inside a Z-matrix: MOPAC reads it as Cartesian x, y, z, not as "
         "internal coordinates (too few fields for r, angle, dihedral and three atom numbers)"},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(findings(text).at(0), expected) << text;
    const std::string pdb = "PDB\nt\nd\nHETATM    1  CA  MPR A   1      19.392   5.714   9.147  1.00  0.07   1  1XY1 166\n"
                            "ATOM      2  HB1 MPR A   1      18.131   5.091   8.587  1.00  0.06   1  1XY1B 168\n";
    const MopacJob job = read_job(pdb);
    ASSERT_EQ(job.atoms().size(), 2u);
    EXPECT_EQ(job.atoms()[0].atomic_number, 6);
    EXPECT_EQ(job.atoms()[1].atomic_number, 1);
}

// Suggestions only for near misses: one edit below six letters, two from six.
TEST(check_job, suggests_only_near_misspellings) {
    const std::pair<const char*, const char*> cases[] = {
        {"CHRAGE", "CHARGE="}, {"GNROM", "GNORM="}, {"PRECIS", "PRECISE"}, {"PART", ""}, {"OF", ""}, {"XYZZY", ""}, {"MOD1", ""}, {"MNDO-D", "MNDOD"}};
    for (const auto& [word, expected] : cases) EXPECT_EQ(check::suggestion_for(word), expected) << word;
}

// Files the input names are looked for from its folder, in MOPAC's words.
TEST(check_job, reports_missing_named_files) {
    const std::string folder = ::testing::TempDir();
    std::ofstream(folder + "params.txt") << "\n";
    const CheckOptions options{folder + "job.mop"};
    const auto with = [&](const std::string& keywords) { return findings(keywords + "\n" + benzene, options); };
    EXPECT_EQ(with("1SCF EXTERNAL=params.txt"), std::vector<std::string>{});
    const std::vector<Diagnostic> cased = check_job(read_job("1SCF EXTERNAL=Params.TXT\n" + std::string(benzene)), options);
    ASSERT_EQ(cased.size(), 1u);
    EXPECT_EQ(cased[0].suggestion, "EXTERNAL=params.txt");  // the name in the file's own case
    EXPECT_EQ(with("1SCF EXTERNAL=C:\\p\\none.txt"),
              std::vector<std::string>{"E missing-file: EXTERNAL file: 'C:/p/none.txt' does not exist!"});
    EXPECT_EQ(with("1SCF RESTART"), std::vector<std::string>{"E missing-file: RESTART file does not exist"});
    EXPECT_EQ(findings("1SCF GEO_DAT=\"a b.ent\"\nt\nd\n", options),
              (std::vector<std::string>{"W geometry-from-file: the atoms come from GEO_DAT=a b.ent, which is not read here",
                                        "E missing-file: GEO_DAT file: 'a b.ent' does not exist."}));
    EXPECT_EQ(findings("1SCF EXTERNAL=none.txt\n" + std::string(benzene)), std::vector<std::string>{});  // no folder given
}

// The spin keywords an edit writes; each accepted form checks clean.
TEST(spin_keywords_for, writes_forms_mopac_accepts) {
    const std::tuple<const char*, unsigned int, bool, std::vector<std::string>> cases[] = {
        {"PM7", 1, true, {"SINGLET"}},          {"PM7", 3, true, {"UHF", "TRIPLET"}},
        {"PM7 C.I.=4", 3, true, {"TRIPLET"}},   {"INDO", 3, true, {"TRIPLET"}},
        {"INDO", 5, false, {}},                 {"MOZYME", 3, false, {}},
        {"MOZYME", 1, true, {"SINGLET"}},       {"POLAR", 2, true, {"RHF", "DOUBLET"}},
        {"POLAR", 3, false, {}},                {"PM7", 10, false, {}},
    };
    for (const auto& [keywords, multiplicity, accepted, tokens] : cases) {
        const MopacJob job = read_job(std::string(keywords) + "\n" + benzene);
        const check::SpinKeywords form = check::spin_keywords_for(job.jobs()[0], multiplicity);
        EXPECT_EQ(form.accepted, accepted) << keywords << ' ' << multiplicity;
        EXPECT_EQ(form.tokens, tokens) << keywords << ' ' << multiplicity;
        if (!form.accepted) continue;
        std::string line = std::string(keywords) + (multiplicity % 2 == 0 ? " CHARGE=1" : "");
        for (const std::string& token : form.tokens) line += " " + token;
        EXPECT_EQ(findings(line + "\n" + benzene), std::vector<std::string>{}) << line;
    }
}

// Every corpus file whose first job MOPAC runs without a message checks
// without an error on that job.
TEST(check_job, errs_on_no_job_mopac_runs) {
    std::ifstream verdicts(VESK_CORPUS_DIR "/../mopac-verdicts.tsv");
    if (!verdicts) GTEST_SKIP() << "\n*** SKIPPED: no verdicts beside " VESK_CORPUS_DIR " ***";
    std::size_t normal = 0;
    std::string row;
    while (std::getline(verdicts, row)) {
        std::istringstream fields(row);
        std::string file, verdict;
        std::getline(fields, file, '\t');
        std::getline(fields, verdict, '\t');
        if (verdict != "normal") continue;
        ++normal;
        const std::string path = VESK_CORPUS_DIR "/" + file;
        const MopacJob job = read_job_file(path);
        for (const Diagnostic& d : check_job(job, {path})) {
            const bool first = d.line == 0 || job.lines()[d.line - 1].job == 0;
            EXPECT_FALSE(first && d.severity == Severity::error) << file << ':' << d.line << ": " << d.message;
        }
    }
    std::cout << normal << " files MOPAC runs without a message\n";
}

}  // namespace
}  // namespace vesk::input::mopac
