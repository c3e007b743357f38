"""Spectra as commands and batches take them, and the figures that standards make of them."""
