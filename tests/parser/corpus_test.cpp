// Round trips over the real MOPAC inputs of the shared corpus: nothing is lost.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "round_trip.hpp"
#include "vesk/input/mopac/parser.hpp"

namespace vesk::input::mopac {
namespace {

std::string read_bytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

std::vector<std::string> corpus_files() {
    std::vector<std::string> files;
    std::ifstream manifest(VESK_CORPUS_DIR "/MANIFEST.tsv");
    std::string row;
    std::getline(manifest, row);  // column names
    while (std::getline(manifest, row)) {
        if (!row.empty()) files.push_back(row.substr(0, row.find('\t')));
    }
    return files;
}

TEST(corpus, every_file_survives_parse_render_parse) {
    const std::vector<std::string> files = corpus_files();
    ASSERT_GT(files.size(), 1000u) << "corpus not found under " VESK_CORPUS_DIR;
    std::size_t parsed = 0;
    for (const auto& name : files) {
        const std::string source = read_bytes(VESK_CORPUS_DIR "/" + name);
        ParseResult first = parse_string(source);
        if (!first.ok) {
            EXPECT_FALSE(first.error.empty()) << name;
            EXPECT_TRUE(first.warnings.empty()) << name;
            continue;
        }
        ++parsed;
        EXPECT_EQ(fuzz::round_trip_defect(source, first.input), "") << name;
    }
    EXPECT_GT(parsed, 1400u);
}

TEST(corpus, named_files_read_as_the_format_says) {
    // '&' does not continue the keyword block: the next line is the title.
    ParseResult ampersand = parse_file(VESK_CORPUS_DIR "/wkpark-mopac/test/test03.inp");
    ASSERT_TRUE(ampersand.ok);
    EXPECT_EQ(ampersand.input.keyword_lines.size(), 1u);
    EXPECT_EQ(ampersand.input.title, "                      PM3 ");

    // "(+)" inside quoted values is no mark; the lone '+' at the line end is.
    ParseResult site = parse_file(VESK_CORPUS_DIR "/openmopac-mopac/tests/SITE_Individual_residues.mop");
    ASSERT_TRUE(site.ok);
    EXPECT_EQ(site.input.keyword_lines.size(), 3u);
    EXPECT_EQ(site.input.title, "Test that ionized sites can be de-ionized");

    // A 320 KB file with classic-Mac CR line ends is one line.
    ParseResult cr_only = parse_file(VESK_CORPUS_DIR
                                     "/openmopac-mopac-archive/manuals/MOPAC2002_manual/mopac_examples/"
                                     "proteins/pdb9pap.mop");
    EXPECT_FALSE(cr_only.ok);
    EXPECT_EQ(cr_only.error, "MOPAC input is missing the title line");
    ASSERT_EQ(cr_only.input.keyword_lines.size(), 1u);
    EXPECT_GT(cr_only.input.keyword_lines[0].size(), 300000u);

    ParseResult empty = parse_file(VESK_CORPUS_DIR "/openmopac-mopac/data/levels/core-core_Sn_-_Br_near.mop");
    EXPECT_EQ(empty.error, "MOPAC input is empty");
}

}  // namespace
}  // namespace vesk::input::mopac
