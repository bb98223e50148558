// containers_data.h - reads the whitespace-separated oracle vectors that
// test/data/gen_containers.py writes (lines starting with '#' are comments).
#ifndef CONTAINERS_DATA_H
#define CONTAINERS_DATA_H

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

// Each line of test/data/<name> split into its fields.
inline std::vector<std::vector<std::string>> containers_readVectors(const std::string &name) {
    std::ifstream in(std::string(ZELBASE_TEST_DATA) + "/" + name);
    EXPECT_TRUE(in.good()) << "missing " << name;
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        std::vector<std::string> row;
        for (std::string f; fields >> f;) row.push_back(f);
        rows.push_back(row);
    }
    return rows;
}

#endif
