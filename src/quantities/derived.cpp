#include <array>
#include <string>

#include "colorimetry/transmittance.hpp"
#include "core/scan_arithmetic.hpp"
#include "core/text.hpp"
#include "quantities/finish.hpp"
#include "quantities/forms.hpp"
#include "quantities/record_parts.hpp"

namespace vekanalysis::quantities {

using internal::Field;
using internal::put;
using internal::visible;

namespace {

namespace col = colorimetry;

constexpr const char* ISO_8980_3 = "ISO 8980-3:2013";
constexpr const char* ANSI_Z80_3 = "ANSI Z80.3-2015";

constexpr const char* own_denominator =
    "Divided by the weighting of its own signal: a clear lens gives 1.";
constexpr const char* of_relative = "Of the signal relative to a clear lens.";

constexpr const char* V = "cie_1931_standard_observer_y";
constexpr const char* A = "cie_illuminant_a";
constexpr const char* C = "cie_illuminant_c";
constexpr const char* D65 = "cie_illuminant_d65";

constexpr std::array quotients{Field{"red", "Q"}, Field{"yellow", "Q"}, Field{"green", "Q"},
                               Field{"blue", "Q"}};
constexpr std::array relative{Field{"red", "τ_sig"}, Field{"yellow", "τ_sig"},
                              Field{"green", "τ_sig"}};

void divide(std::span<double> fields, double denominator) {
    for (double& field : fields) field = internal::quotient(field, denominator);
}

template <col::RYGB (*signal)(const Scan&)>
void compute_attenuation(const Scan& spectrum, const Scan& /*white*/, std::span<double> fields) {
    using col::RYGB;
    put(signal(spectrum), fields, &RYGB::red, &RYGB::yellow, &RYGB::green, &RYGB::blue);
    divide(fields, col::ISO8980_3_tau_v(spectrum));
}

/// The figures of the standard, which divides all by the weighting of red, by that of their own.
void compute_relative(const Scan& spectrum, const Scan& /*white*/, std::span<double> fields) {
    using col::RYG;
    put(col::ANSI_Z80_3_tau_signal(spectrum), fields, &RYG::red, &RYG::yellow, &RYG::green);
    const Scan weights = observers::data::cie_1931_standard().y * col::data::cie_illuminant_a();
    const auto weighting = [&](const Scan& lens) {
        return (weights * lens)(visible.from, visible.to);
    };
    const double red = weighting(col::data::ANSI_Z80_3_2015_red_signal_transmittance());
    fields[1] *= red / weighting(col::data::ANSI_Z80_3_2015_yellow_signal_transmittance());
    fields[2] *= red / weighting(col::data::ANSI_Z80_3_2015_green_signal_transmittance());
}

void compute_traffic(const Scan& spectrum, const Scan& white, std::span<double> fields) {
    compute_relative(spectrum, white, fields);
    divide(fields, col::ANSI_Z80_3_tau_v(spectrum));
}

void compute_smallest(const Scan& spectrum, const Scan& /*white*/, std::span<double> fields) {
    fields[0] = col::ANSI_Z80_3_tau_spectral_min(spectrum);
    divide(fields, col::ANSI_Z80_3_tau_v(spectrum));
}

template <double (*luminous)(const Scan&)>
std::string why_missing(const Scan& spectrum, std::size_t /*field*/) {
    const double denominator = luminous(spectrum);
    if (denominator > 0.0) return "the numerator is not a number";
    return "τ_V is " + vekanalysis::internal::general(denominator) + ", not above 0";
}

constexpr Function relative_signal{"ANSI_Z80_3_tau_signal_relative", 3, compute_relative,
                                   &forms::relative_signal};
constexpr Function incandescent{
    "ISO8980_3_Q_incandescent", 4, compute_attenuation<&col::ISO8980_3_tau_signal_incandescent>,
    &forms::attenuation_incandescent, why_missing<&col::ISO8980_3_tau_v>};
constexpr Function led{"ISO8980_3_Q_led", 4, compute_attenuation<&col::ISO8980_3_tau_signal_led>,
                       &forms::attenuation_led, why_missing<&col::ISO8980_3_tau_v>};
constexpr Function traffic{"ANSI_Z80_3_Q", 3, compute_traffic, &forms::attenuation_traffic,
                           why_missing<&col::ANSI_Z80_3_tau_v>};
constexpr Function smallest{"ANSI_Z80_3_tau_min_over_tau_v", 1, compute_smallest,
                            &forms::spectral_min_quotient, why_missing<&col::ANSI_Z80_3_tau_v>};

Quantity ratio(const char* name, const char* standard, std::vector<std::string> notes = {}) {
    return {.name = name,
            .unit = "1",
            .kind = "transmittance",
            .band = visible,
            .standard = standard,
            .notes = std::move(notes),
            .is_detail = true};
}

std::vector<Quantity> make_catalogue() {
    std::vector<Quantity> all;
    const internal::Weighting luminous{visible, {V, D65}};
    internal::append_quotients(all, incandescent, ratio("incandescent {} / τ_V", ISO_8980_3),
                               quotients, {visible, {"ISO8980_3_incandescent_{}"}}, luminous);
    internal::append_quotients(all, led, ratio("LED {} / τ_V", ISO_8980_3), quotients,
                               {visible, {"ISO8980_3_led_{}"}}, luminous);
    Quantity to_clear = ratio("traffic {} / clear", ANSI_Z80_3, {own_denominator});
    to_clear.is_transmittance = true;
    internal::append(all, relative_signal, to_clear, relative,
                     {V, A, "ANSI_Z80_3_2015_{}_signal_transmittance"});
    const internal::Weighting under_c{visible, {V, C}};
    internal::append_quotients(all, traffic, ratio("traffic {} / τ_V", ANSI_Z80_3, {of_relative}),
                               std::span(quotients).first(3),
                               {visible, {V, A, "ANSI_Z80_3_2015_{}_signal_transmittance"}},
                               under_c);
    constexpr std::array one{Field{"", "Q_min"}};
    internal::append_quotients(all, smallest,
                               ratio("smallest value / τ_V", ANSI_Z80_3, {internal::stored_points}),
                               one, {{475.0, 650.0}, {}}, under_c);
    all.back().key = smallest.name;
    return all;
}

}  // namespace

std::span<const Quantity> derived() {
    static const std::vector<Quantity> catalogue = make_catalogue();
    return catalogue;
}

}  // namespace vekanalysis::quantities
