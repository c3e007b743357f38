"""Certificates: pages on lenses, with the limits and by the decision rule of a laboratory."""

from ._certificate import Certificate, page
from ._conformity import Conformity, Membership, Statement, assess
from ._limits import Bound, Category, Decision, Limits, Requirement
from ._pdf import pdf
from ._record import Verification, record, verify
from ._settings import FIELDS, Field, Logo, Settings

__all__ = [
    "FIELDS",
    "Bound",
    "Category",
    "Certificate",
    "Conformity",
    "Decision",
    "Field",
    "Limits",
    "Logo",
    "Membership",
    "Requirement",
    "Settings",
    "Statement",
    "Verification",
    "assess",
    "page",
    "pdf",
    "record",
    "verify",
]
