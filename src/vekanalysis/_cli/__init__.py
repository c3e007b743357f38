"""The commands of the command line, a thin layer over the public API."""
