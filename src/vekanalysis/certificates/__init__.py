"""Certificates: what a laboratory's limits and decision rule make of figures with uncertainty."""

from ._conformity import Conformity, Membership, Statement, assess
from ._limits import Bound, Category, Decision, Limits, Requirement

__all__ = [
    "Bound",
    "Category",
    "Conformity",
    "Decision",
    "Limits",
    "Membership",
    "Requirement",
    "Statement",
    "assess",
]
