// Round trips over the real MOPAC inputs of the shared corpus: nothing is lost.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "parser/reader.hpp"
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

// A stored line that ends in CR (its file had CR CR LF) is written with that
// CR and loses it on the next read, as every line loses one final CR.
std::string reread(std::string line) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

std::string number(double value) {
    CoordinateRecord record;
    record.x = value;
    return format_coordinate(record);
}

// Compares a document with the parse of its own rendering.
void expect_same_document(const MopacInput& first, const MopacInput& second, bool grew_empty_line) {
    ASSERT_EQ(second.keyword_lines.size(), first.keyword_lines.size());
    for (std::size_t i = 0; i < first.keyword_lines.size(); ++i) {
        EXPECT_EQ(second.keyword_lines[i], reread(first.keyword_lines[i]));
    }
    EXPECT_EQ(second.title, reread(first.title));
    EXPECT_EQ(second.comment, reread(first.comment));
    ASSERT_EQ(second.coordinates.size(), first.coordinates.size());
    for (std::size_t i = 0; i < first.coordinates.size(); ++i) {
        const CoordinateRecord& a = first.coordinates[i];
        const CoordinateRecord& b = second.coordinates[i];
        ASSERT_EQ(b.kind, a.kind) << "record " << i;
        if (a.kind == CoordinateKind::Raw) {
            EXPECT_EQ(b.raw_line, reread(a.raw_line));
            continue;
        }
        if (a.kind == CoordinateKind::Atom) {
            EXPECT_EQ(b.element, a.element);
        }
        EXPECT_EQ(number(b.x), number(a.x));  // equal to 12 significant digits
        EXPECT_EQ(number(b.y), number(a.y));
        EXPECT_EQ(number(b.z), number(a.z));
        EXPECT_EQ(b.has_optimization_flags, a.has_optimization_flags);
        if (a.has_optimization_flags) {
            EXPECT_EQ(b.optimize_x, a.optimize_x);
            EXPECT_EQ(b.optimize_y, a.optimize_y);
            EXPECT_EQ(b.optimize_z, a.optimize_z);
        }
    }
    std::vector<std::string> expected_trailing;
    for (const auto& line : first.trailing_lines) expected_trailing.push_back(reread(line));
    if (grew_empty_line) expected_trailing.emplace_back();
    EXPECT_EQ(second.trailing_lines, expected_trailing);
}

bool ends_in_empty_line(const std::string& text) {
    return text == "\n" || (text.size() >= 2 && text.compare(text.size() - 2, 2, "\n\n") == 0);
}

TEST(corpus, every_file_survives_parse_render_parse) {
    const std::vector<std::string> files = corpus_files();
    ASSERT_GT(files.size(), 1000u) << "corpus not found under " VESK_CORPUS_DIR;
    std::size_t parsed = 0;
    for (const auto& name : files) {
        SCOPED_TRACE(name);
        const std::string source = read_bytes(VESK_CORPUS_DIR "/" + name);
        ParseResult first = parse_string(source);
        if (!first.ok) {
            EXPECT_FALSE(first.error.empty());
            EXPECT_TRUE(first.warnings.empty());
            continue;
        }
        ++parsed;

        // Every line that was not read as numbers is in the output as it stood.
        const std::string rendered = first.input.to_string();
        const std::vector<std::string> in_lines = detail::split_lines(source);
        const std::vector<std::string> out_lines = detail::split_lines(rendered);
        const std::size_t head = first.input.keyword_lines.size() + 2;
        ASSERT_GE(out_lines.size(), in_lines.size());
        for (std::size_t i = 0; i < in_lines.size(); ++i) {
            bool is_record = i >= head && i < head + first.input.coordinates.size();
            if (!is_record || first.input.coordinates[i - head].kind == CoordinateKind::Raw) {
                ASSERT_EQ(reread(out_lines[i]), reread(in_lines[i])) << "line " << i + 1;
            }
        }

        ParseResult second = parse_string(rendered);
        ASSERT_TRUE(second.ok) << second.error;
        expect_same_document(first.input, second.input, ends_in_empty_line(rendered));

        // A second rendering is the first, but for the empty line that a text
        // ending in LF LF gains on each round and the CR of CR CR LF lines.
        std::string expected = rendered;
        for (std::size_t at = expected.find("\r\n"); at != std::string::npos; at = expected.find("\r\n", at)) {
            expected.erase(at, 1);
        }
        if (ends_in_empty_line(rendered)) expected += '\n';
        EXPECT_EQ(second.input.to_string(), expected);
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
