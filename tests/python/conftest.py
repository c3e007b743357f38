"""Settings of all tests."""

from hypothesis import HealthCheck, settings

# The first test draws its values from the sources of all modules that are imported and that
# Hypothesis takes for ours: where the libraries are those of .toolchain, from theirs as well.
settings.register_profile("vekanalysis", suppress_health_check=[HealthCheck.too_slow])
settings.load_profile("vekanalysis")
