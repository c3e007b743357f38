#pragma once

#include "../colorimetry/tristimulus.hpp"

namespace vekanalysis::lighting::internal {

/// Coordinates of CAM02-UCS.
struct JabPrime {
    double J;
    double a;
    double b;
};

/// CIECAM02 and CAM02-UCS under the viewing conditions of CIE 224: adaptation complete (D = 1),
/// adapting luminance 100 cd/m2, background 20, average surround.
///
/// Sources: CIE 159:2004; M. Luo, G. Cui, C. Li, Color Res. Appl. 31 (2006) 320; CIE 224:2017.
class Cam02 {
public:
    /// @param white  tristimulus values of the light, Y = 100
    explicit Cam02(const colorimetry::CIEXYZ& white) noexcept;

    /// Coordinates of a surface; not finite where the model has no answer.
    [[nodiscard]] JabPrime operator()(double X, double Y, double Z) const noexcept;

private:
    struct Cones {
        double rho;
        double gamma;
        double beta;
    };
    [[nodiscard]] Cones responses(double X, double Y, double Z) const noexcept;

    double matrix_[3][3];
    double white_signal_ = 1.0;
};

}  // namespace vekanalysis::lighting::internal
