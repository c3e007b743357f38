#pragma once

#include <locale>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

/// The rule that the CSV reader follows, in its plainest form: formatted extraction from a stream.
/// Only the GNU library's stream is the rule; others differ at the edges.
inline std::vector<std::pair<double, double>> read_pairs_with_streams(const std::string& text) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    std::vector<std::pair<double, double>> result;
    while (true) {
        double x = 0.0;
        double y = 0.0;
        stream >> x;
        while (!stream.fail()) {
            const int next = stream.peek();
            if (next != ' ' && next != ',' && next != '\t' && next != ';') break;
            stream.get();
        }
        stream >> y;
        if (stream.fail()) return result;
        result.emplace_back(x, y);
    }
}
