// What the standards say of a lens: every quantity of the library's catalogue.
//
// usage: lens_report FILE
//
// FILE has two columns of numbers and nothing else: wavelength in nm, transmittance as a fraction.

#include <vekanalysis/core/scan.hpp>
#include <vekanalysis/io/text_lines.hpp>
#include <vekanalysis/quantities/evaluate.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace quantities = vekanalysis::quantities;
using vekanalysis::Scan;

// A file whose numbers could mean something else is refused.
Scan read_transmittance(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot be opened");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    const auto columns = vekanalysis::io::read_pairs(text);
    if (!columns) throw std::runtime_error("is not two columns of numbers");
    auto [wavelengths, values] = columns->points(0, 1);
    if (std::any_of(values.begin(), values.end(), [](double v) { return !(v >= 0 && v <= 1.5); })) {
        throw std::runtime_error("has values outside 0 to 1.5: no fractions");
    }
    const std::size_t rows = values.size();
    Scan lens(std::move(wavelengths), std::move(values));
    if (lens.size() != rows) throw std::runtime_error("has a wavelength twice");
    return lens;
}

// The number of a note, which is added unless it is there.
std::size_t numbered(std::vector<std::string>& notes, const std::string& note) {
    const auto place = std::find(notes.begin(), notes.end(), note);
    const auto number = static_cast<std::size_t>(place - notes.begin()) + 1;
    if (place == notes.end()) notes.push_back(note);
    return number;
}

void print_report(const Scan& lens) {
    const auto catalogue = quantities::lens();
    const std::vector<std::reference_wrapper<const quantities::Quantity>> records(catalogue.begin(),
                                                                                  catalogue.end());
    const Scan no_white;  // a matter of light sources
    const auto values = quantities::evaluate(lens, records, no_white, false);

    std::string standard;
    std::vector<std::string> notes;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const quantities::Quantity& record = records[i];
        const quantities::Value& value = values[i];
        if (record.standard != standard) std::printf("\n%s\n", record.standard.c_str());
        standard = record.standard;

        if (value.value) {
            std::printf("%10.4f", *value.value);
        } else {
            std::printf("%10s", "-");
        }
        std::printf(" %-3s %s, %s", record.unit == "1" ? "" : record.unit.c_str(),
                    record.symbol.c_str(), record.name.c_str());
        if (!value.problem.empty()) std::printf(": %s", value.problem.c_str());
        if (value.covered && value.covered != value.needed) {
            std::printf("; data cover %g-%g of %g-%g nm", value.covered->from, value.covered->to,
                        value.needed->from, value.needed->to);
        }
        for (const std::string& note : record.notes) {
            std::printf(" [%zu]", numbered(notes, note));
        }
        std::printf("\n");
    }
    std::printf("\nNotes\n");
    for (std::size_t i = 0; i < notes.size(); ++i) {
        std::printf("  [%zu] %s\n", i + 1, notes[i].c_str());
    }
}

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: lens_report FILE\n");
        return 2;
    }
    try {
        const Scan lens = read_transmittance(argv[1]);
        std::printf("%s: %g-%g nm, %zu points\n", argv[1], lens.min_wavelength(),
                    lens.max_wavelength(), lens.size());
        print_report(lens);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "lens_report: %s: %s\n", argv[1], error.what());
        return 1;
    }
    return 0;
}
