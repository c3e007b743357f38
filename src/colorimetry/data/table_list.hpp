#pragma once

/// Every reference table, by the name of its accessor, in the order in which all lists have them.
///
/// The build takes the files of the tables from here, too: a table is its file and a line below.
#define VEKANALYSIS_REFERENCE_TABLES(TABLE)            \
    TABLE(AM0_ASTM_E490)                               \
    TABLE(AM15D_ASTM_G17303)                           \
    TABLE(AM15G_ASTM_G17303)                           \
    TABLE(ANSI_Z80_3_2015_green_signal_transmittance)  \
    TABLE(ANSI_Z80_3_2015_red_signal_transmittance)    \
    TABLE(ANSI_Z80_3_2015_yellow_signal_transmittance) \
    TABLE(ISO8980_3_incandescent_blue)                 \
    TABLE(ISO8980_3_incandescent_green)                \
    TABLE(ISO8980_3_incandescent_red)                  \
    TABLE(ISO8980_3_incandescent_yellow)               \
    TABLE(ISO8980_3_led_blue)                          \
    TABLE(ISO8980_3_led_green)                         \
    TABLE(ISO8980_3_led_red)                           \
    TABLE(ISO8980_3_led_yellow)                        \
    TABLE(aphake_hazard)                               \
    TABLE(blue_light_hazard)                           \
    TABLE(cie_1931_standard_observer_x)                \
    TABLE(cie_1931_standard_observer_y)                \
    TABLE(cie_1931_standard_observer_z)                \
    TABLE(cie_1964_standard_observer_x)                \
    TABLE(cie_1964_standard_observer_y)                \
    TABLE(cie_1964_standard_observer_z)                \
    TABLE(cie_illuminant_a)                            \
    TABLE(cie_illuminant_c)                            \
    TABLE(cie_illuminant_d65)                          \
    TABLE(relative_spectral_effectiveness)             \
    TABLE(solar_spectral_irradiance)
