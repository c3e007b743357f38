#include "quantities/by_form.hpp"

#include <cstddef>
#include <vector>

#include "colorimetry/transmittance.hpp"
#include "core/scan_arithmetic.hpp"
#include "core/text.hpp"
#include "quantities/finish.hpp"

namespace vekanalysis::quantities::internal {

namespace {

std::vector<double> integrals_of(const Form& form, const Scan& spectrum) {
    std::vector<double> integrals;
    for (const Integral& integral : form.integrals) {
        Scan product = spectrum;
        for (const Factor& factor : integral.factors) {
            const Scan weight = factor.spectrum();
            product = factor.on_left ? weight * product : product * weight;
        }
        integrals.push_back(product(integral.band.from, integral.band.to));
    }
    return integrals;
}

}  // namespace

void compute(const Function& function, const OwnTables* own, const Scan& spectrum,
             const Scan& white, std::span<double> fields) {
    if (own == nullptr) {
        function.compute(spectrum, white, fields);
        return;
    }
    const Form form = function.form(white, *own);
    const std::vector<double> integrals = integrals_of(form, spectrum);
    if (form.finish == Form::Finish::SMALLEST_QUOTIENT) {
        fields[0] = quotient(colorimetry::ANSI_Z80_3_tau_spectral_min(spectrum),
                             number_of(form, integrals, 0));
        return;
    }
    finish(form, integrals, fields);
}

std::string why_missing_with(const Function& function, const OwnTables& own, const Scan& spectrum,
                             const Scan& white) {
    const Form form = function.form(white, own);
    const std::vector<double> integrals = integrals_of(form, spectrum);
    const double denominator = number_of(form, integrals, integrals.size() - 1);
    if (denominator > 0.0) return "the numerator is not a number";
    return "τ_V is " + vekanalysis::internal::general(denominator) + ", not above 0";
}

}  // namespace vekanalysis::quantities::internal
