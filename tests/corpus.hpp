// The real MOPAC inputs the tests read, as named in the corpus manifest.
#pragma once

#include <fstream>
#include <string>
#include <vector>

namespace vesk::testing {

/// The corpus files (paths under VESK_CORPUS_DIR) in manifest order; empty
/// without a corpus.
inline std::vector<std::string> corpus_files() {
    std::vector<std::string> files;
    std::ifstream manifest(VESK_CORPUS_DIR "/MANIFEST.tsv");
    std::string row;
    std::getline(manifest, row);  // the header
    while (std::getline(manifest, row)) {
        if (!row.empty()) files.push_back(row.substr(0, row.find('\t')));
    }
    return files;
}

}  // namespace vesk::testing
