// The keywords one by one: MOPAC's keyword check (every word must start with
// a prefix it knows), values, repeats, and the name a misspelt word means.
#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "check/findings.hpp"
#include "text/distance.hpp"
#include "mopac/tables.hpp"
#include "text/keyword_scan.hpp"
#include "vesk/input/mopac/catalogue.hpp"
#include "vesk/input/mopac/document.hpp"

namespace vesk::input::mopac::check {
namespace {

std::string name_of(const JobKeyword& keyword) { return normalize_keyword_name(keyword.text); }

// A word MOPAC does not know. Names that look like a method of the PM6 to PM8
// line get MOPAC's own message for a method it does not have.
void unknown(Findings& findings, const JobKeyword& keyword, const std::string& name, bool debug,
             std::vector<const JobKeyword*>& unrecognized) {
    if (debug) {
        findings.at(keyword, Severity::warning, "unknown-keyword",
                    "MOPAC does not know " + keyword.text + ": with DEBUG it lists the word and ignores it",
                    suggestion_for(name, keyword.text.find('=') != std::string::npos));
        return;
    }
    if (name.size() > 3 && name.compare(0, 2, "PM") == 0 && name[2] >= '6' && name[2] <= '8') {
        findings.error(keyword, "unknown-method", "The method requested: \"" + name + "\" does not exist.");
        return;
    }
    unrecognized.push_back(&keyword);
}

// A word as MOPAC lists it: without a value in parentheses or quotes.
std::string listed(const std::string& text) {
    const std::size_t cut = text.find_first_of("=(");
    if (cut == std::string::npos || (text[cut] == '=' && cut + 1 < text.size() && text[cut + 1] != '(' && text[cut + 1] != '"')) {
        return text;
    }
    return text.substr(0, cut);
}

// MOPAC names every word it does not know in one message: the first word
// carries it, each later one names itself.
void report_unrecognized(Findings& findings, const std::vector<const JobKeyword*>& unrecognized) {
    std::string all;
    for (const JobKeyword* keyword : unrecognized) all += (all.empty() ? "" : " ") + listed(keyword->text);
    for (const JobKeyword* keyword : unrecognized) {
        const std::string name = normalize_keyword_name(keyword->text);
        findings.error(*keyword, "unknown-keyword",
                       "UNRECOGNIZED KEY-WORDS: (" + (keyword == unrecognized.front() ? all : listed(keyword->text)) + ")",
                       suggestion_for(name, keyword->text.find('=') != std::string::npos));
    }
}

// A value written to a keyword that takes none, or none to one that needs it:
// MOPAC then reads the first number behind the name, which belongs to a later
// keyword (without one it reads none, and the name alone may be meant).
void check_value(Findings& findings, const Keywords& keywords, const JobKeyword& keyword, const std::string& name,
                 const KeywordInfo& info) {
    if (info.forms.empty()) return;
    const bool has_value = keyword.text.find_first_of("=(") != std::string::npos;
    const bool takes_value = info.forms.find('=') != std::string_view::npos || info.forms.find('(') != std::string_view::npos;
    const bool needs_value = info.forms.find("NAME,") == std::string_view::npos && info.forms != "NAME";
    if (has_value && !takes_value) {
        findings.at(keyword, Severity::warning, "unexpected-value",
                    name + " takes no value: MOPAC reads " + keyword.text + " as " + name);
    } else if (!has_value && needs_value) {
        const std::vector<JobKeyword>& all = keywords.job().keywords;
        for (const JobKeyword* later = &keyword + 1; later < all.data() + all.size(); ++later) {
            if (later->text.find_first_of("0123456789") == std::string::npos) continue;
            findings.at(keyword, Severity::warning, "missing-value",
                        name + " needs a value (" + std::string(info.forms) + "): MOPAC reads the number of " +
                            later->text + " as its value",
                        name + "=");
            return;
        }
    }
}

}  // namespace

// MOPAC's keyword check. Quoted text and the file names of GEO_DAT= and
// GEO_REF= are not looked at; with DEBUG an unknown word is only listed.
void check_keywords(Findings& findings, const Keywords& keywords) {
    const Job& job = keywords.job();
    const bool debug = keywords.has("DEBUG");
    // A PDB file read as a data set starts with its HEADER record, which MOPAC
    // takes whole: the rest of that line is no keywords.
    const bool pdb_header = !job.keywords.empty() && job.keywords[0].text == "HEADER";
    std::vector<std::string> seen;
    std::vector<const JobKeyword*> spin_names;
    std::vector<const JobKeyword*> unrecognized;
    for (const JobKeyword& keyword : job.keywords) {
        const std::string name = name_of(keyword);
        if (pdb_header && keyword.line == job.keywords[0].line) continue;
        if (keyword.text[0] == '"' || keyword.text[0] == '\'' || name == "GEO_DAT" || name == "GEO_REF") continue;
        // INDO reads a few keywords of its own that MOPAC's check does not
        // know (MRCI, TDIP, WRTCI, ...); with another method they have their own message.
        const KeywordInfo* info = find_keyword(name);
        const bool indo_word = info != nullptr && info->prefixes.empty() && !info->forms.empty();
        bool indo_only = false;
        for (std::size_t i = 0; i < detail::indo_only_size; ++i) indo_only = indo_only || name == detail::indo_only[i];
        if (indo_word && (keywords.indo() || indo_only)) continue;
        const bool method_like = name.size() > 3 && name.compare(0, 2, "PM") == 0 && name[2] >= '6' && name[2] <= '8';
        if (!mopac_accepts_keyword(keyword.text) || (method_like && info == nullptr && !is_mopac_method(name))) {
            unknown(findings, keyword, name, debug, unrecognized);
            continue;
        }
        if (info != nullptr) check_value(findings, keywords, keyword, name, *info);
        const std::string_view value = detail::keyword_value_part(keyword.text);
        const bool has_value = keyword.text.find_first_of("=(") != std::string::npos;
        double number = 0.0;
        if (name == "CHARGE" && has_value && !(whole_number(value, number) && number == std::floor(number))) {
            findings.error(keyword, "bad-charge", "CHARGE must be a whole number: " + keyword.text);
        }
        if (name == "MS" && has_value && !(whole_number(value, number) && 2 * number == std::floor(2 * number))) {
            findings.error(keyword, "bad-ms", "MS must be a whole or half number: " + keyword.text);
        }
        if ((name == "CHARGE" || name == "MS") && std::find(seen.begin(), seen.end(), name) != seen.end()) {
            findings.at(keyword, Severity::warning, "repeated-keyword",
                        name + " is given twice: MOPAC takes the first value");
        }
        if (spin_state_multiplicity(name) != 0) spin_names.push_back(&keyword);
        seen.push_back(name);
    }
    if (!unrecognized.empty()) report_unrecognized(findings, unrecognized);
    // MOPAC tests the names from SINGLET up and takes the first it finds.
    if (spin_names.size() > 1) {
        const auto lowest = std::min_element(spin_names.begin(), spin_names.end(), [](const JobKeyword* a, const JobKeyword* b) {
            return spin_state_multiplicity(name_of(*a)) < spin_state_multiplicity(name_of(*b));
        });
        for (const JobKeyword* other : spin_names) {
            if (name_of(*other) == name_of(**lowest)) continue;
            findings.at(*other, Severity::warning, "several-spin-states",
                        "two spin states (" + (*lowest)->text + ", " + other->text + "): MOPAC takes " + (*lowest)->text);
        }
    }
}

// The name of MOPAC's list nearest to `name`: at most one edit for a word of
// three to five letters, two from six on (a swap of neighbours counts one),
// none for one or two letters; ties go to the name with the same first letter.
// Digits are not typed by mistake: MOD1, MINDO3 or AM1-D3 are other keywords
// (of other versions or programs), so a name whose digits differ is no match;
// nor is a name that takes no value for a word written with one (REF=..., SET=...).
std::string suggestion_for(std::string_view name, bool has_value) {
    const auto distance = [](std::string_view a, std::string_view b) { return detail::edit_distance(a, b); };
    const auto digits = [](std::string_view word) {
        std::string found;
        for (char c : word) {
            if (c >= '0' && c <= '9') found += c;
        }
        return found;
    };
    if (name.size() < 3 || name.size() > 40) return {};
    const std::size_t allowed = name.size() < 6 ? 1 : 2;
    const KeywordInfo* best = nullptr;
    std::size_t best_distance = allowed + 1;
    for (const KeywordInfo& info : keyword_catalogue()) {
        if (info.name.size() < 3 || info.name == name || digits(info.name) != digits(name)) continue;
        // A word written with a value means a keyword that takes one.
        if (has_value && info.forms.find('=') == std::string_view::npos) continue;
        const std::size_t found = distance(name, info.name);
        const bool same_start = info.name[0] == name[0];
        if (found < best_distance || (found == best_distance && best != nullptr && same_start && best->name[0] != name[0])) {
            best = &info;
            best_distance = found;
        }
    }
    if (best == nullptr) return {};
    std::string suggestion(best->name);
    if (best->forms.rfind("NAME=", 0) == 0) suggestion += "=";
    return suggestion;
}

}  // namespace vesk::input::mopac::check
