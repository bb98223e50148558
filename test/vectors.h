// vectors.h - the reader of the oracle vectors under test/data: one case a
// line, empty lines skipped and, unless they are data, lines starting with
// '#'; fields split at `sep` (' ' splits at runs of blanks and tabs and drops
// empty fields; any other separator keeps them; '\n' keeps the whole line as
// one field).
#ifndef VECTORS_H
#define VECTORS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using VectorRow = std::vector<std::string>;

// `text` cut at every `sep`, empty pieces kept.
inline VectorRow vectors_split(const std::string &text, char sep) {
    VectorRow out;
    for (size_t at = 0;;) {
        const size_t end = text.find(sep, at);
        out.push_back(text.substr(at, end - at));
        if (end == std::string::npos) return out;
        at = end + 1;
    }
}

inline std::vector<VectorRow> vectors_read(const std::string &name, char sep = ' ',
                                           bool hashComments = true) {
    std::ifstream in(std::string(ZELBASE_TEST_DATA) + "/" + name);
    EXPECT_TRUE(in.good()) << "missing " << name;
    std::vector<VectorRow> rows;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || (hashComments && line[0] == '#')) continue;
        if (sep != ' ') {
            rows.push_back(vectors_split(line, sep));
            continue;
        }
        std::istringstream fields(line);
        VectorRow row;
        for (std::string f; fields >> f;) row.push_back(f);
        rows.push_back(std::move(row));
    }
    return rows;
}

// The bytes of a hex field; "-" is the empty string of bytes.
inline std::string vectors_unhex(const std::string &hex) {
    std::string out;
    if (hex == "-") return out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<char>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    return out;
}

#endif
