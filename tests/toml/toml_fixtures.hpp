#pragma once
// Files of tests/data/toml shared by the suites of this folder.

#include <fstream>
#include <sstream>
#include <string>

inline std::string readTestFile(const std::string& name) {
    std::ifstream file(std::string(HALYWARD_TEST_DATA "/toml/") + name, std::ios::binary);
    std::stringstream contents;
    contents << file.rdbuf();
    return contents.str();
}
