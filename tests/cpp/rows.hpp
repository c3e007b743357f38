#pragma once

#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

/// The rows of a table in tests/data/tables, a JSON array a line.
///
/// @throws std::exception  when there are none, or one has not these columns
template <class... Columns>
std::vector<std::tuple<Columns...>> rows(const std::string& name) {
    std::ifstream file(std::string(VEKANALYSIS_TEST_DATA) + "/tables/" + name + ".jsonl");
    std::vector<std::tuple<Columns...>> found;
    for (std::string line; std::getline(file, line);) {
        found.push_back(nlohmann::json::parse(line).get<std::tuple<Columns...>>());
    }
    if (found.empty()) throw std::runtime_error("no rows in " + name);
    return found;
}
