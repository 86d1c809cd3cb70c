"""Phosphorylated serine, threonine and tyrosine: patches, and parameters for the joint.

The phosphate has the types of nucleic acids. Charges are those of ethyl and isopropyl phosphate
(dianions), of the ends of nucleic acids (monoanions) and of phenyl phosphate; its dianion is not
published, and has the phosphate of the others on a carbon without charge. Atom names are those of
deposited files.

Places. The ester bond has the same angle to all three oxygens, less than the equilibrium values,
which cannot all be met: 106 degrees leave 113 between the oxygens. In threonine the phosphorus
stands between CA and CG2, opposite to neither, as it does in crystals.
"""

from .analogies import Analogy
from .written_patches import filled_patches

_CGENFF = "par_all36_cgenff.prm"
_NUCLEIC = "par_all36_na.prm"
_ETHYL = "ethyl phosphate"
_ISOPROPYL = "isopropyl phosphate"
_PHENYL = "phenyl phosphate"
_METHYL = "methyl phosphate"

PARAMETERS = [Analogy(*line) for line in (
    ("CT2 ON2", "CG321 OG303", _ETHYL, _CGENFF),
    ("CT1 ON2", "CG311 OG303", _ISOPROPYL, _CGENFF),
    ("CA ON2", "CG2R61 OG303", _PHENYL, _CGENFF),
    ("CT1 CT2 ON2", "CG331 CG321 OG303", _ETHYL, _CGENFF),
    ("HA2 CT2 ON2", "HGA2 CG321 OG303", _ETHYL, _CGENFF),
    ("CT2 ON2 P", "CG321 OG303 PG2", _ETHYL, _CGENFF),
    ("CT1 CT1 ON2", "CG331 CG311 OG303", _ISOPROPYL, _CGENFF),
    ("CT3 CT1 ON2", "CG331 CG311 OG303", _ISOPROPYL, _CGENFF),
    ("HA1 CT1 ON2", "HGA1 CG311 OG303", _ISOPROPYL, _CGENFF),
    ("CT1 ON2 P", "CG311 OG303 PG2", _ISOPROPYL, _CGENFF),
    ("CA CA ON2", "CG2R61 CG2R61 OG303", _PHENYL, _CGENFF),
    ("CA ON2 P", "CG2R61 OG303 PG1", _PHENYL, _CGENFF),
    ("CT1 CT2 ON2 P", "CG331 CG321 OG303 PG2", _ETHYL, _CGENFF),
    ("HA2 CT2 ON2 P", "HGA2 CG321 OG303 PG2", _ETHYL, _CGENFF),
    ("CT2 ON2 P ON3", "CG321 OG303 PG2 OG2P1", _ETHYL, _CGENFF),
    ("CT2 ON2 P ON4", "CG321 OG303 PG1 OG311", _METHYL, _CGENFF),
    ("CT1 CT1 ON2 P", "CG331 CG311 OG303 PG2", _ISOPROPYL, _CGENFF),
    ("CT3 CT1 ON2 P", "CG331 CG311 OG303 PG2", _ISOPROPYL, _CGENFF),
    ("HA1 CT1 ON2 P", "HGA1 CG311 OG303 PG2", _ISOPROPYL, _CGENFF),
    ("CT1 ON2 P ON3", "CG311 OG303 PG2 OG2P1", _ISOPROPYL, _CGENFF),
    ("CT1 ON2 P ON4", "CN7 ON2 P ON4", _METHYL, _NUCLEIC),
    ("CA CA CA ON2", "CG2R61 CG2R61 CG2R61 OG303", _PHENYL, _CGENFF),
    ("HP CA CA ON2", "HGR61 CG2R61 CG2R61 OG303", _PHENYL, _CGENFF),
    ("CA CA ON2 P", "CG2R61 CG2R61 OG303 PG1", _PHENYL, _CGENFF),
    ("CA ON2 P ON3", "CG2R61 OG303 PG1 OG2P1", _PHENYL, _CGENFF),
    ("CA ON2 P ON4", "CG2R61 OG303 PG1 OG311", _PHENYL, _CGENFF),
)]

_APPLIED_TO = {"SP1": "SER", "SP2": "SER", "THP1": "THR", "THPB": "THR",
               "TP1": "TYR", "TP2": "TYR"}

_NOTES = {
    "SP1": "phosphoserine with one charge, from SER",
    "SP2": "phosphoserine with two charges, from SER",
    "THP1": "phosphothreonine with one charge, from THR",
    "THPB": "phosphothreonine with two charges, from THR",
    "TP1": "phosphotyrosine with one charge, from TYR",
    "TP2": "phosphotyrosine with two charges, from TYR",
}

_PATCHES = """
PRES SP1 -1.00
GROUP
ATOM CB   CT2  -0.08
ATOM HB1  HA2   0.09
ATOM HB2  HA2   0.09
ATOM OG   ON2  -0.62
ATOM P    P     1.50
ATOM O1P  ON3  -0.82
ATOM O2P  ON3  -0.82
ATOM O3P  ON4  -0.68
ATOM HOP3 HN4   0.34
DELETE ATOM HG1
BOND OG P P O1P P O2P P O3P O3P HOP3
IC CA  CB OG  P    0 0  180 0 0
IC CB  OG P   O3P  0 0  180 106 0
IC O3P OG *P  O1P  0 0  120 106 0
IC O3P OG *P  O2P  0 0 -120 106 0
IC OG  P  O3P HOP3 0 0   90 0 0

PRES SP2 -2.00
GROUP
ATOM CB   CT2  -0.18
ATOM HB1  HA2   0.09
ATOM HB2  HA2   0.09
ATOM OG   ON2  -0.40
ATOM P    P     1.10
ATOM O1P  ON3  -0.90
ATOM O2P  ON3  -0.90
ATOM O3P  ON3  -0.90
DELETE ATOM HG1
BOND OG P P O1P P O2P P O3P
IC CA  CB OG P   0 0  180 0 0
IC CB  OG P  O3P 0 0  180 106 0
IC O3P OG *P O1P 0 0  120 106 0
IC O3P OG *P O2P 0 0 -120 106 0

PRES THP1 -1.00
GROUP
ATOM CB   CT1   0.01
ATOM HB   HA1   0.09
ATOM OG1  ON2  -0.62
ATOM P    P     1.50
ATOM O1P  ON3  -0.82
ATOM O2P  ON3  -0.82
ATOM O3P  ON4  -0.68
ATOM HOP3 HN4   0.34
DELETE ATOM HG1
BOND OG1 P P O1P P O2P P O3P O3P HOP3
IC CA  CB  OG1 P    0 0  120 0 0
IC CB  OG1 P   O3P  0 0  180 106 0
IC O3P OG1 *P  O1P  0 0  120 106 0
IC O3P OG1 *P  O2P  0 0 -120 106 0
IC OG1 P   O3P HOP3 0 0   90 0 0

PRES THPB -2.00
GROUP
ATOM CB   CT1  -0.09
ATOM HB   HA1   0.09
ATOM OG1  ON2  -0.40
ATOM P    P     1.10
ATOM O1P  ON3  -0.90
ATOM O2P  ON3  -0.90
ATOM O3P  ON3  -0.90
DELETE ATOM HG1
BOND OG1 P P O1P P O2P P O3P
IC CA  CB  OG1 P   0 0  120 0 0
IC CB  OG1 P   O3P 0 0  180 106 0
IC O3P OG1 *P  O1P 0 0  120 106 0
IC O3P OG1 *P  O2P 0 0 -120 106 0

PRES TP1 -1.00
GROUP
ATOM CE1  CA   -0.21
ATOM HE1  HP    0.21
GROUP
ATOM CE2  CA   -0.21
ATOM HE2  HP    0.21
GROUP
ATOM CZ   CA   -0.16
ATOM OH   ON2  -0.36
ATOM P    P     1.40
ATOM O1P  ON3  -0.76
ATOM O2P  ON3  -0.76
ATOM O3P  ON4  -0.75
ATOM HOP3 HN4   0.39
DELETE ATOM HH
BOND OH P P O1P P O2P P O3P O3P HOP3
IC CE1 CZ OH  P    0 0   90 0 0
IC CZ  OH P   O3P  0 0  180 106 0
IC O3P OH *P  O1P  0 0  120 106 0
IC O3P OH *P  O2P  0 0 -120 106 0
IC OH  P  O3P HOP3 0 0   90 0 0

PRES TP2 -2.00
GROUP
ATOM CE1  CA   -0.115
ATOM HE1  HP    0.115
GROUP
ATOM CE2  CA   -0.115
ATOM HE2  HP    0.115
GROUP
ATOM CZ   CA    0.00
ATOM OH   ON2  -0.40
ATOM P    P     1.10
ATOM O1P  ON3  -0.90
ATOM O2P  ON3  -0.90
ATOM O3P  ON3  -0.90
DELETE ATOM HH
BOND OH P P O1P P O2P P O3P
IC CE1 CZ OH P   0 0   90 0 0
IC CZ  OH P  O3P 0 0  180 106 0
IC O3P OH *P O1P 0 0  120 106 0
IC O3P OH *P O2P 0 0 -120 106 0
"""


def phosphorylation_patches(residues, parameters):
    """The patches; `parameters` must hold those of PARAMETERS."""
    return filled_patches(_PATCHES, _APPLIED_TO, _NOTES, residues, parameters)
