// The edits of mopac-input: which arguments can be written, and the read-back
// check that keeps an edit from writing a file that reads otherwise.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "edits.hpp"
#include "vesk/input/mopac/parser.hpp"

namespace vesk::tools {
namespace {

TEST(keyword_token_problem, refuses_what_would_not_read_back_as_one_token) {
    const std::pair<std::string, std::string> cases[] = {
        {"PM7", ""},
        {"PM6-DH+", ""},
        {"T='a b'", ""},
        {"AUX(PRECISION=9, XP)", ""},
        {"a)", ""},  // a ')' at depth 0 is an ordinary byte
        {"", "is empty"},
        {"X +", "holds a blank (give one keyword per option)"},
        {" PM7", "holds a blank (give one keyword per option)"},
        {"A\x0b" "B", "holds a blank (give one keyword per option)"},
        {"A\nB", "holds a line break"},
        {"+", "is the mark that continues the keyword line"},
        {"'X", "leaves a quote or parenthesis open, which would take in the keywords behind it"},
        {"GEO(1", "leaves a quote or parenthesis open, which would take in the keywords behind it"},
        {"+1", "starts with '+', which MOPAC reads as the mark that continues the keyword line"},
        {"X++", "holds \"++\", which MOPAC reads as joining the next line"},
        {"A&B", "holds '&', which makes MOPAC read the next line as keywords"},
        {"*X", "starts with '*': MOPAC skips a keyword line that starts so"},
    };
    for (const auto& [token, problem] : cases) EXPECT_EQ(keyword_token_problem(token), problem) << token;
    EXPECT_EQ(head_line_problem("water, optimised  "), "");
    EXPECT_EQ(head_line_problem("New\nline"), "holds a line break");
    EXPECT_EQ(head_line_problem("a\rb"), "holds a line break");
    EXPECT_EQ(head_line_problem("* note"), "starts with '*': MOPAC skips such a line as a comment");
}

TEST(edit_document, refuses_a_result_that_reads_back_otherwise) {
    struct Case {
        std::string text;
        EditRequest request;
        std::string refusal;
    };
    EditRequest charge;
    charge.charge = 1;
    EditRequest narrow = charge;
    narrow.width = 5;
    EditRequest title_only;
    title_only.title = "T";
    const Case cases[] = {
        {"PM7 AUX(PRECISION=9, XP)\nt\nc\nO 0 0 0\n", narrow, ""},
        {"PM7 'abc\nt\nc\nO 0 0 0\n", title_only, ""},  // the open quote stays last
        {"PM7 'abc\nt\nc\nO 0 0 0\n", charge, "keywords"},       // 'abc CHARGE=1 is one token
        {"PM7 (x\nt\nc\nO 0 0 0\n", narrow, "keyword lines"},    // "(x +" does not continue
        {"PM7\nt\r\r\nc\nO 0 0 0\n", charge, "title"},           // "t\r" comes back as "t"
        {"PM7\nt\nc\nTv 1.00000000000001 0 0\n", charge, ""},    // written as %.12g, compared so
    };
    for (const Case& c : cases) {
        EXPECT_EQ(edit_document(input::mopac::parse_string(c.text).input, c.request).refusal, c.refusal) << c.text;
    }
}

}  // namespace
}  // namespace vesk::tools
