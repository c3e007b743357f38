#include "io/vekfile_json.hpp"

#include <array>
#include <cmath>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace vekanalysis::vekfile {

namespace {

using nlohmann::json;

/// Appends a number with the digits that the library's writer gives it; null if it is not finite.
void append_number(double value, std::string& text) {
    if (!std::isfinite(value)) {
        text += "null";
        return;
    }
    std::array<char, 64> buffer{};
    const char* const begin = buffer.data();
    const char* const end = nlohmann::detail::to_chars(buffer.data(), begin + buffer.size(), value);
    text.append(begin, end);
}

/// Writes a document front to back, laid out as the library does it. Texts and the digits of
/// numbers are the library's own writing. There is never a tree of the document, which would take
/// many times its size.
class Writer {
public:
    Writer(int indent, bool ensure_ascii) : indent_(indent), ensure_ascii_(ensure_ascii) {}

    /// @param members  called with the braces open
    template <class F>
    void object(const F& members) {
        inside('{', '}', members);
    }
    template <class F>
    void member(std::string_view key, const F& value) {
        begin_item();
        text_ += '"';
        text_ += key;
        text_ += indent_ < 0 ? "\":" : "\": ";
        value();
    }
    /// @param element  called with each of `values`
    template <class T, class F>
    void array_member(std::string_view key, const std::vector<T>& values, const F& element) {
        member(key, [&] {
            inside('[', ']', [&] {
                for (const T& value : values) {
                    begin_item();
                    element(value);
                }
            });
        });
    }
    void member(std::string_view key, const std::string& value) {
        member(key, [&] { text_ += json(value).dump(-1, ' ', ensure_ascii_); });
    }
    void member(std::string_view key, bool value) {
        member(key, [&] { text_ += value ? "true" : "false"; });
    }
    void member(std::string_view key, std::uint32_t value) {
        member(key, [&] { text_ += std::to_string(value); });
    }
    void member(std::string_view key, std::int32_t value) {
        member(key, [&] { text_ += std::to_string(value); });
    }
    void member(std::string_view key, const std::vector<double>& values) {
        member(key, [&] { inside('[', ']', [&] { elements(values); }); });
    }

    /// Makes room for so many numbers in arrays within arrays; what is not written takes no memory.
    void expect_numbers(std::size_t count) {
        constexpr std::size_t digits = 19;
        constexpr std::size_t level = 5;
        const std::size_t blanks = indent_ < 0 ? 0 : level * static_cast<std::size_t>(indent_) + 1;
        text_.reserve(count * (digits + blanks + 1));
    }

    [[nodiscard]] std::string text() && noexcept { return std::move(text_); }

private:
    template <class F>
    void inside(char opening, char closing, const F& contents) {
        text_ += opening;
        ++level_;
        first_ = true;
        contents();
        --level_;
        if (!first_) break_line();
        text_ += closing;
        first_ = false;
    }
    void break_line() {
        if (indent_ < 0) return;
        text_ += '\n';
        text_.append(level_ * static_cast<std::size_t>(indent_), ' ');
    }
    void begin_item() {
        if (!first_) text_ += ',';
        first_ = false;
        break_line();
    }
    void elements(std::span<const double> values) {
        std::string between(1, ',');
        if (indent_ >= 0) {
            between += '\n';
            between.append(level_ * static_cast<std::size_t>(indent_), ' ');
        }
        for (const double value : values) {
            if (first_) {
                begin_item();
            } else {
                text_ += between;
            }
            append_number(value, text_);
        }
    }

    int indent_;
    bool ensure_ascii_;
    std::size_t level_ = 0;
    bool first_ = true;
    std::string text_;
};

void write(Writer& writer, std::string_view key, const MeasurementTypeUnits& units) {
    writer.member(key, [&] {
        writer.object([&] {
            writer.member("measurement_type", units.measurement_type);
            writer.member("measurement_type_code", units.measurement_type_code);
            writer.member("units", units.units);
            writer.member("units_code", units.units_code);
        });
    });
}

void write(Writer& writer, const DataInfo& info) {
    writer.object([&] {
        writer.member("apply_data_calibration", info.apply_data_calibration);
        writer.member("apply_reference", info.apply_reference);
        write(writer, "auxiliary_type_and_units", info.auxiliary_type_and_units);
        writer.member("certificate_file", info.certificate_file);
        writer.member("data_calibration_file", info.data_calibration_file);
        writer.member("date_and_time", info.date_and_time);
        writer.member("post_scan_addon_description", info.post_scan_addon_description);
        writer.member("post_scan_addon_filename", info.post_scan_addon_filename);
        writer.member("pre_scan_addon_description", info.pre_scan_addon_description);
        writer.member("pre_scan_addon_filename", info.pre_scan_addon_filename);
        writer.member("reference_file", info.reference_file);
        writer.member("reference_parameter", info.reference_parameter);
        writer.member("reference_type", info.reference_type);
        writer.member("scan_summary", info.scan_summary);
        writer.member("system_file", info.system_file);
        write(writer, "type_and_units", info.type_and_units);
    });
}

void write(Writer& writer, const DataSet<DataNative>& data_set) {
    writer.object([&] {
        writer.member("data", [&] {
            writer.object([&] {
                writer.member("x", data_set.data.x);
                writer.member("y", data_set.data.y);
            });
        });
        writer.member("name", data_set.name);
        writer.member("no_of_points", data_set.no_of_points);
    });
}

void write(Writer& writer, const Graph& graph) {
    writer.object([&] {
        writer.member("gv_version", graph.gv_version);
        writer.member("x_axis_title", graph.x_axis_title);
        writer.member("y_axis_title", graph.y_axis_title);
    });
}

void write(Writer& writer, const Meta& meta) {
    writer.object([&] {
        writer.member("file_version", meta.file_version);
        writer.member("has_timestamps", meta.has_timestamps);
        writer.member("x_type", meta.x_type);
    });
}

}  // namespace

// The members stand in the byte order of their keys.
std::string vekfile_to_json(const VekFile<DataSet<DataNative>>& file, int indent,
                            bool ensure_ascii) {
    // Every number has a line of its own: a step without bounds would ask for any amount of memory.
    constexpr int max_indent = 1024;
    if (indent > max_indent) {
        throw std::invalid_argument("vekfile_to_json: indent must not exceed 1024");
    }
    Writer writer(indent, ensure_ascii);
    std::size_t numbers = 0;
    for (const auto& data_set : file.data_sets) {
        numbers += data_set.data.x.size() + data_set.data.y.size();
    }
    writer.expect_numbers(numbers);
    writer.object([&] {
        writer.member("data_info", [&] { write(writer, file.data_info); });
        if (!file.data_sets.empty()) {
            writer.array_member("data_sets", file.data_sets,
                                [&](const auto& data_set) { write(writer, data_set); });
        }
        writer.member("graph", [&] { write(writer, file.graph); });
        writer.member("meta", [&] { write(writer, file.meta); });
    });
    return std::move(writer).text();
}

}  // namespace vekanalysis::vekfile
