#include "python/registration.hpp"

#include <string>

#include "curves/curves.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

constexpr const char* grid_doc = R"doc(min_wl, max_wl, step_wl : float
    Wavelengths in nm: the points are min_wl + i * step_wl up to max_wl, which is a
    point only where the grid meets it.

Returns
-------
Scan

Raises
------
ValueError
    If )doc";

constexpr const char* grid_failures =
    R"doc(min_wl >= max_wl, step_wl > (max_wl - min_wl) or step_wl <= 0; if one
    of these is not finite, the grid has more than 100000000 points, or step_wl is
    too small to tell neighbouring wavelengths apart.
)doc";

}  // namespace

void add_curves_module(py::module_& m) {
    constexpr const char* edge_parameters = R"doc(
Parameters
----------
center_wl : float
    Wavelength in nm at which the transmission is 0.5.
bandwidth : float
    Range in nm over which the transmission )doc";
    const auto add_edge = [&](const char* name, auto function, const char* text,
                              const char* bandwidth) {
        m.def(name, function, "center_wl"_a, "bandwidth"_a, "min_wl"_a, "max_wl"_a, "step_wl"_a,
              (std::string(text) + edge_parameters + bandwidth + grid_doc + grid_failures).c_str());
    };
    add_edge("longpass_filter", &curves::longpass_filter,
             R"doc(Transmission (fraction) of a long-pass filter with a logistic edge.

1 / (exp(-2 ln(19) (wl - center_wl) / bandwidth) + 1)
)doc",
             "rises from 5% to 95%.\n");
    add_edge("shortpass_filter", &curves::shortpass_filter,
             R"doc(Transmission (fraction) of a short-pass filter with a logistic edge.

1 minus ``longpass_filter`` of the same arguments.
)doc",
             "falls from 95% to 5%.\n");
    m.def("lognormal", &curves::lognormal, "peak_wl"_a, "fwhm"_a, "min_wl"_a, "max_wl"_a,
          "step_wl"_a,
          (std::string(R"doc(Log-normal band of height 1, skewed towards longer wavelengths.

exp(-(ln(wl) - mu)^2 / (2 s^2)) / wl, divided by its value at peak_wl, with
s^2 = ln((fwhm / (2 peak_wl))^2 / (2 ln 2) + 1) and mu = s^2 + ln(peak_wl).

Parameters
----------
peak_wl : float
    Wavelength in nm of the peak.
fwhm : float
    Full width at half maximum in nm, met closely where it is well below peak_wl.
)doc") + grid_doc +
           "peak_wl <= 0 or fwhm <= 0; if\n    " + grid_failures)
              .c_str());
}

}  // namespace vekanalysis::python
