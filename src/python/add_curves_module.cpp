#include "python/registration.hpp"

#include <string>

#include "curves/curves.hpp"
#include "python/docstring.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

/// What all curves say of their grid, after their own parameters; `refused` are those of their own.
Docstring& on_grid(Docstring& doc, const std::string& refused = {}) {
    return doc
        .parameter("min_wl, max_wl, step_wl", "float",
                   "Wavelengths in nm: the points are min_wl + i * step_wl up to max_wl, which is "
                   "a point only where the grid meets it.")
        .returns("Scan")
        .raises("ValueError",
                "If " + refused +
                    "min_wl >= max_wl, step_wl > (max_wl - min_wl) or step_wl <= 0; if one of "
                    "these is not finite, the grid has more than 100000000 points, or step_wl is "
                    "too small to tell neighbouring wavelengths apart.");
}

Docstring edge(const char* text, const std::string& change) {
    Docstring doc(text);
    doc.parameter("center_wl", "float", "Wavelength in nm at which the transmission is 0.5.")
        .parameter("bandwidth", "float", "Range in nm over which the transmission " + change + ".");
    return on_grid(doc);
}

Docstring lognormal_doc() {
    Docstring doc(R"doc(Log-normal band of height 1, skewed towards longer wavelengths.

exp(-(ln(wl) - mu)^2 / (2 s^2)) / wl, divided by its value at peak_wl, with
s^2 = ln((fwhm / (2 peak_wl))^2 / (2 ln 2) + 1) and mu = s^2 + ln(peak_wl).
)doc");
    doc.parameter("peak_wl", "float", "Wavelength in nm of the peak.")
        .parameter("fwhm", "float",
                   "Full width at half maximum in nm, met closely where it is well below peak_wl.");
    return on_grid(doc, "peak_wl <= 0 or fwhm <= 0; if ");
}

}  // namespace

void add_curves_module(py::module_& m) {
    m.def("longpass_filter", &curves::longpass_filter, "center_wl"_a, "bandwidth"_a, "min_wl"_a,
          "max_wl"_a, "step_wl"_a,
          edge(R"doc(Transmission (fraction) of a long-pass filter with a logistic edge.

1 / (exp(-2 ln(19) (wl - center_wl) / bandwidth) + 1)
)doc",
               "rises from 5% to 95%"));
    m.def("shortpass_filter", &curves::shortpass_filter, "center_wl"_a, "bandwidth"_a, "min_wl"_a,
          "max_wl"_a, "step_wl"_a,
          edge(R"doc(Transmission (fraction) of a short-pass filter with a logistic edge.

1 minus ``longpass_filter`` of the same arguments.
)doc",
               "falls from 95% to 5%"));
    m.def("lognormal", &curves::lognormal, "peak_wl"_a, "fwhm"_a, "min_wl"_a, "max_wl"_a,
          "step_wl"_a, lognormal_doc());
}

}  // namespace vekanalysis::python
