"""Methylated lysines and arginines: patches, and parameters that the published files lack.

Charges. The nitrogens of mono- and dimethyl-lysine have those of piperidinium and of
N-methylpiperidinium, whose carbons and hydrogens share the rest; trimethyl-lysine has those of
ethyltrimethylammonium throughout. A methyl group on arginine has those of methylguanidinium, and
the nitrogen that holds two of them has what is left of the amino group's charge. Every patch keeps
the residue's charge of +1.

Types are those of the protein file, so that no new one is needed. The hydrogens around a quaternary
nitrogen carry a charge of 0.25 and have a small radius in the force field (type HGP5 of the general
file, HL of lipids); of the protein file's types, HR2 has the same Lennard-Jones figures.

Places. On lysine a methyl group takes the place of the first hydrogen, or of the first two; three
are staggered against CD. On arginine hydrogens are named differently by different programs, and
which of NH1 and NH2 lies beside CD as well, so that the ends of the group are built anew, flat,
with NH1 beside CD: only so is there one carbon, and not two, in each of the three bays of the
group.
"""

from .analogies import Analogy
from .written_patches import filled_patches

_CGENFF = "par_all36_cgenff.prm"
_AMMONIUM = "tetramethylammonium"

PARAMETERS = [Analogy(*line) for line in (
    ("CT2 HR2", "CG324 HGP5", _AMMONIUM, _CGENFF),
    ("CT3 HR2", "CG334 HGP5", _AMMONIUM, _CGENFF),
    ("CT2 NH3 CT3", "CG324 NG3P0 CG334", _AMMONIUM, _CGENFF),
    ("CT3 NH3 CT3", "CG334 NG3P0 CG334", _AMMONIUM, _CGENFF),
    ("NH3 CT2 HR2", "NG3P0 CG324 HGP5", _AMMONIUM, _CGENFF),
    ("NH3 CT3 HR2", "NG3P0 CG334 HGP5", _AMMONIUM, _CGENFF),
    ("CT2 CT2 HR2", "CG321 CG324 HGP5", "alkane", _CGENFF),
    ("HR2 CT2 HR2", "HGP5 CG324 HGP5", _AMMONIUM, _CGENFF),
    ("HR2 CT3 HR2", "HGP5 CG334 HGP5", _AMMONIUM, _CGENFF),
    ("CT3 NC2 CT3", "CT3 N CT3", "dimethylacetamide", "toppar_all36_prot_modify_res.str"),
    ("HR2 CT2 NH3 CT3", "HGP5 CG324 NG3P0 CG334", _AMMONIUM, _CGENFF),
    ("HR2 CT3 NH3 CT2", "HGP5 CG334 NG3P0 CG324", _AMMONIUM, _CGENFF),
    ("HR2 CT3 NH3 CT3", "HGP5 CG334 NG3P0 CG334", _AMMONIUM, _CGENFF),
)]

_APPLIED_TO = {"MML": "LYS", "DML": "LYS", "TML": "LYS", "MMA": "ARG", "ADMA": "ARG", "SDMA": "ARG"}

_NOTES = {
    "MML": "mono-methyl-lysine, from LYS",
    "DML": "di-methyl-lysine, from LYS",
    "TML": "tri-methyl-lysine, from LYS",
    "MMA": "mono-methyl-arginine, from ARG",
    "ADMA": "asymmetric di-methyl-arginine, from ARG",
    "SDMA": "symmetric di-methyl-arginine, from ARG",
}

_PATCHES = """
PRES MML 1.00
GROUP
ATOM CE   CT2   0.20
ATOM HE1  HA2   0.09
ATOM HE2  HA2   0.09
ATOM NZ   NH3  -0.40
ATOM HZ2  HC    0.32
ATOM HZ3  HC    0.32
ATOM CM   CT3   0.11
ATOM HM1  HA3   0.09
ATOM HM2  HA3   0.09
ATOM HM3  HA3   0.09
DELETE ATOM HZ1
BOND NZ CM CM HM1 CM HM2 CM HM3
IC CE  HZ2 *NZ CM  0 0  120 0 0
IC CE  NZ  CM  HM1 0 0  180 0 0
IC HM1 NZ  *CM HM2 0 0  120 0 0
IC HM1 NZ  *CM HM3 0 0 -120 0 0

PRES DML 1.00
GROUP
ATOM CE   CT2   0.18
ATOM HE1  HA2   0.09
ATOM HE2  HA2   0.09
ATOM NZ   NH3  -0.40
ATOM HZ3  HC    0.32
ATOM CM1  CT3   0.09
ATOM HM11 HA3   0.09
ATOM HM12 HA3   0.09
ATOM HM13 HA3   0.09
ATOM CM2  CT3   0.09
ATOM HM21 HA3   0.09
ATOM HM22 HA3   0.09
ATOM HM23 HA3   0.09
DELETE ATOM HZ1
DELETE ATOM HZ2
BOND NZ CM1 CM1 HM11 CM1 HM12 CM1 HM13
BOND NZ CM2 CM2 HM21 CM2 HM22 CM2 HM23
IC CE   HZ3 *NZ  CM1  0 0 -120 0 0
IC CE   HZ3 *NZ  CM2  0 0  120 0 0
IC CE   NZ  CM1  HM11 0 0  180 0 0
IC HM11 NZ  *CM1 HM12 0 0  120 0 0
IC HM11 NZ  *CM1 HM13 0 0 -120 0 0
IC CE   NZ  CM2  HM21 0 0  180 0 0
IC HM21 NZ  *CM2 HM22 0 0  120 0 0
IC HM21 NZ  *CM2 HM23 0 0 -120 0 0

PRES TML 1.00
GROUP
ATOM CE   CT2  -0.10
ATOM HE1  HR2   0.25
ATOM HE2  HR2   0.25
ATOM NZ   NH3  -0.60
ATOM CM1  CT3  -0.35
ATOM HM11 HR2   0.25
ATOM HM12 HR2   0.25
ATOM HM13 HR2   0.25
ATOM CM2  CT3  -0.35
ATOM HM21 HR2   0.25
ATOM HM22 HR2   0.25
ATOM HM23 HR2   0.25
ATOM CM3  CT3  -0.35
ATOM HM31 HR2   0.25
ATOM HM32 HR2   0.25
ATOM HM33 HR2   0.25
DELETE ATOM HZ1
DELETE ATOM HZ2
DELETE ATOM HZ3
BOND NZ CM1 CM1 HM11 CM1 HM12 CM1 HM13
BOND NZ CM2 CM2 HM21 CM2 HM22 CM2 HM23
BOND NZ CM3 CM3 HM31 CM3 HM32 CM3 HM33
IC CD   CE  NZ   CM1  0 0  180 0 0
IC CM1  CE  *NZ  CM2  0 0  120 0 0
IC CM1  CE  *NZ  CM3  0 0 -120 0 0
IC CE   NZ  CM1  HM11 0 0  180 0 0
IC HM11 NZ  *CM1 HM12 0 0  120 0 0
IC HM11 NZ  *CM1 HM13 0 0 -120 0 0
IC CE   NZ  CM2  HM21 0 0  180 0 0
IC HM21 NZ  *CM2 HM22 0 0  120 0 0
IC HM21 NZ  *CM2 HM23 0 0 -120 0 0
IC CE   NZ  CM3  HM31 0 0  180 0 0
IC HM31 NZ  *CM3 HM32 0 0  120 0 0
IC HM31 NZ  *CM3 HM33 0 0 -120 0 0

PRES MMA 1.00
GROUP
ATOM CD   CT2   0.20
ATOM HD1  HA2   0.09
ATOM HD2  HA2   0.09
ATOM NE   NC2  -0.70
ATOM HE   HC    0.44
ATOM CZ   C     0.64
ATOM NH1  NC2  -0.80
ATOM HH11 HC    0.46
ATOM HH12 HC    0.46
ATOM NH2  NC2  -0.70
ATOM HH22 HC    0.44
ATOM CM   CT3   0.11
ATOM HM1  HA3   0.09
ATOM HM2  HA3   0.09
ATOM HM3  HA3   0.09
DELETE ATOM HH21
DELETE ATOM HH22
BOND NH2 HH22 NH2 CM CM HM1 CM HM2 CM HM3
IC NE  CZ  NH2 CM   0 0  180 0 0
IC NE  CZ  NH2 HH22 0 0    0 0 0
IC CZ  NH2 CM  HM1  0 0  180 0 0
IC HM1 NH2 *CM HM2  0 0  120 0 0
IC HM1 NH2 *CM HM3  0 0 -120 0 0

PRES ADMA 1.00
GROUP
ATOM CD   CT2   0.20
ATOM HD1  HA2   0.09
ATOM HD2  HA2   0.09
ATOM NE   NC2  -0.70
ATOM HE   HC    0.44
ATOM CZ   C     0.64
ATOM NH1  NC2  -0.80
ATOM HH11 HC    0.46
ATOM HH12 HC    0.46
ATOM NH2  NC2  -0.64
ATOM CM1  CT3   0.11
ATOM HM11 HA3   0.09
ATOM HM12 HA3   0.09
ATOM HM13 HA3   0.09
ATOM CM2  CT3   0.11
ATOM HM21 HA3   0.09
ATOM HM22 HA3   0.09
ATOM HM23 HA3   0.09
DELETE ATOM NH1
DELETE ATOM HH11
DELETE ATOM HH12
DELETE ATOM NH2
DELETE ATOM HH21
DELETE ATOM HH22
BOND CZ NH2 NH1 HH11 NH1 HH12
BOND NH2 CM1 CM1 HM11 CM1 HM12 CM1 HM13
BOND NH2 CM2 CM2 HM21 CM2 HM22 CM2 HM23
DOUBLE CZ NH1
IMPR CZ NH1 NH2 NE
IMPR NH1 HH11 HH12 CZ
IC CD   NE  CZ   NH1  0 0    0 0 1.33
IC CD   NE  CZ   NH2  0 0  180 0 1.33
IC NE   CZ  NH1  HH11 0 0  180 0 0
IC NE   CZ  NH1  HH12 0 0    0 0 0
IC NE   CZ  NH2  CM1  0 0  180 0 0
IC NE   CZ  NH2  CM2  0 0    0 0 0
IC CZ   NH2 CM1  HM11 0 0  180 0 0
IC HM11 NH2 *CM1 HM12 0 0  120 0 0
IC HM11 NH2 *CM1 HM13 0 0 -120 0 0
IC CZ   NH2 CM2  HM21 0 0  180 0 0
IC HM21 NH2 *CM2 HM22 0 0  120 0 0
IC HM21 NH2 *CM2 HM23 0 0 -120 0 0

PRES SDMA 1.00
GROUP
ATOM CD   CT2   0.20
ATOM HD1  HA2   0.09
ATOM HD2  HA2   0.09
ATOM NE   NC2  -0.70
ATOM HE   HC    0.44
ATOM CZ   C     0.64
ATOM NH1  NC2  -0.70
ATOM HH12 HC    0.44
ATOM CM1  CT3   0.11
ATOM HM11 HA3   0.09
ATOM HM12 HA3   0.09
ATOM HM13 HA3   0.09
ATOM NH2  NC2  -0.70
ATOM HH21 HC    0.44
ATOM CM2  CT3   0.11
ATOM HM21 HA3   0.09
ATOM HM22 HA3   0.09
ATOM HM23 HA3   0.09
DELETE ATOM NH1
DELETE ATOM HH11
DELETE ATOM HH12
DELETE ATOM NH2
DELETE ATOM HH21
DELETE ATOM HH22
BOND CZ NH2 NH1 HH12 NH2 HH21
BOND NH1 CM1 CM1 HM11 CM1 HM12 CM1 HM13
BOND NH2 CM2 CM2 HM21 CM2 HM22 CM2 HM23
DOUBLE CZ NH1
IMPR CZ NH1 NH2 NE
IC CD   NE  CZ   NH1  0 0    0 0 1.33
IC CD   NE  CZ   NH2  0 0  180 0 1.33
IC NE   CZ  NH1  HH12 0 0    0 0 0
IC NE   CZ  NH1  CM1  0 0  180 0 0
IC NE   CZ  NH2  HH21 0 0  180 0 0
IC NE   CZ  NH2  CM2  0 0    0 0 0
IC CZ   NH1 CM1  HM11 0 0  180 0 0
IC HM11 NH1 *CM1 HM12 0 0  120 0 0
IC HM11 NH1 *CM1 HM13 0 0 -120 0 0
IC CZ   NH2 CM2  HM21 0 0  180 0 0
IC HM21 NH2 *CM2 HM22 0 0  120 0 0
IC HM21 NH2 *CM2 HM23 0 0 -120 0 0
"""


def methylation_patches(residues, parameters):
    """The patches; `parameters` must hold those of PARAMETERS."""
    return filled_patches(_PATCHES, _APPLIED_TO, _NOTES, residues, parameters)
