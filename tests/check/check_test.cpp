// The preflight check: each fault MOPAC stops on, built on benzene (42
// electrons), and what the check finds over the corpus.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <string>
#include <vector>

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
std::vector<std::string> findings(const std::string& text) {
    std::vector<std::string> found;
    for (const Diagnostic& d : check_job(read_job(text))) {
        found.push_back(std::string(d.severity == Severity::error ? "E " : "W ") + d.code + ": " + d.message +
                        (d.suggestion.empty() ? "" : " -> " + d.suggestion));
    }
    return found;
}

TEST(check_job, finds_what_mopac_stops_on_in_benzene) {
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"1SCF", {}},
        {"1SCF CHARGE=1 UHF DOUBLET", {}},
        {"1SCF CHARGE=1 TRIPLET", {"E spin-parity: TRIPLET SPECIFIED WITH ODD NUMBER OF ELECTRONS, CORRECT FAULT"}},
        {"1SCF DOUBLET", {"E spin-parity: DOUBLET SPECIFIED WITH EVEN NUMBER OF ELECTRONS, CORRECT FAULT"}},
        {"1SCF MS=0.5", {"E ms-parity: Value of MS not consistent with number of electrons"}},
        {"1SCF CHARGE=1 MS=1", {"E ms-parity: Value of MS not consistent with number of electrons"}},
        {"1SCF TRIPLET", {"E spin-not-spanned: SPECIFIED SPIN COMPONENT NOT SPANNED BY ACTIVE SPACE -> UHF"}},
        {"1SCF MS=1 TRIPLET", {"E ms-with-spin-state: MS cannot be used with other keywords that define spin"}},
        {"1SCF RHF UHF", {"E rhf-and-uhf: UHF and RHF cannot both be used"}},
        {"1SCF PM7 AM1", {"E several-methods: IMPOSSIBLE OPTION REQUESTED: PM7 and AM1"}},
        {"1SCF CHRAGE=1", {"E unknown-keyword: UNRECOGNIZED KEY-WORDS: (CHRAGE=1) -> CHARGE="}},
        {"1SCF DEBUG CHRAGE=1", {"W unknown-keyword: UNRECOGNIZED KEY-WORDS: (CHRAGE=1) -> CHARGE="}},
        {"1SCF CHARGE=2 CHARGE=0", {"W repeated-keyword: CHARGE is given twice: MOPAC takes one of the values"}},
        {"1SCF SINGLET TRIPLET", {"W several-spin-states: two spin states (SINGLET, TRIPLET): MOPAC takes one of them"}},
        {"1SCF CHARGE=1.5", {"E bad-charge: CHARGE must be a whole number: CHARGE=1.5"}},
        {"1SCF UHF MS=0.3", {"E bad-ms: MS must be a whole or half number: MS=0.3",
                            "E ms-parity: Value of MS not consistent with number of electrons"}},
        {"1SCF UHF=2", {"W unexpected-value: UHF takes no value: MOPAC reads UHF=2 as UHF"}},
        {"PM6 C.A.S.=4", {"E indo-only: C.A.S. is only compatible with INDO -> INDO"}},
        {"PM6 C.I.D.=4", {"E indo-only: C.I.D. is only compatible with INDO -> INDO"}},
        {"PM6 MRCI", {"E indo-only: MRCI is only compatible with INDO -> INDO"}},
        {"PM6 CIS", {"E no-ci: Keyword \"CIS\" used, but no C.I. defined -> C.I.="}},
        {"INDO CIS MRCI", {}},
        {"PM8", {"E missing-parameters: Parameters for some elements are missing: PM8 has none for H",
                 "E missing-parameters: Parameters for some elements are missing: PM8 has none for C"}},
    };
    for (const auto& [keywords, expected] : cases) {
        EXPECT_EQ(findings(std::string(keywords) + "\n" + benzene), expected) << keywords;
    }
}

TEST(check_job, finds_text_that_mopac_reads_otherwise) {
    EXPECT_THAT(findings("PM7\nt\nd\nC 1,5 0 0\n"),
                ::testing::ElementsAre("W decimal-comma: a decimal comma: MOPAC reads 1,5 as two numbers"));
    EXPECT_THAT(findings("PM7\n* the title\nt\nd\nH 0 0 0\n"),
                ::testing::ElementsAre("W comment-in-head: MOPAC drops this '*' line, so the next line is read as the title"));
    EXPECT_THAT(findings("PM7 CHARGE= +1\nt\nd\nH 0 0 0\n"), ::testing::Contains(::testing::StartsWith("W plus-in-word")));
    EXPECT_THAT(findings(std::string("PM7\nt\nd\nH 0 0 0\0\n", 16)), ::testing::Contains(::testing::StartsWith("E not-text")));
}

TEST(check_job, errs_on_the_corpus_only_where_mopac_stops) {
    const std::vector<std::string> names = vesk::testing::corpus_files();
    if (names.empty()) GTEST_SKIP() << "\n*** SKIPPED: no corpus under " VESK_CORPUS_DIR " ***";
    std::size_t files = 0;
    std::size_t count = 0;
    for (const std::string& name : names) {
        ++files;
        for (const Diagnostic& d : check_job(read_job_file(VESK_CORPUS_DIR "/" + name))) {
            if (d.severity != Severity::error) continue;
            std::cout << "  " << name << ":" << d.line << ": " << d.message << "\n";
            ++count;
            // The keyword tests and examples of today's MOPAC all run.
            const bool current = name.rfind("openmopac-mopac/examples/", 0) == 0 ||
                                 (name.rfind("openmopac-mopac/tests/keywords/", 0) == 0 &&
                                  name.compare(name.size() - 4, 4, ".mop") == 0);
            EXPECT_FALSE(current) << name;
            break;
        }
    }
    // Old test decks with keywords MOPAC no longer knows, Hp atoms, parameter files.
    std::cout << count << " of " << files << " files have an error MOPAC stops on\n";
    EXPECT_LE(count, 120u);
}

}  // namespace
}  // namespace vesk::input::mopac
