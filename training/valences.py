"""Whether a molecule without bond orders can exist: whether single, double and triple bonds can be
set so that every atom has as many bonds as its element wants."""

B, C, N, O, F, P, S, H = 5, 6, 7, 8, 9, 15, 16, 1
CL, BR, I = 17, 35, 53

VALENCES = {H: (1,), B: (3, 4), C: (4,), F: (1,), P: (5,), CL: (1,), BR: (1,), I: (1,)}
MOST_ADDED = 2  # bonds added to a single one
# Molecules that take more are taken to be in order. Of tens of thousands, none has needed a quarter.
MOST_TRIALS = 10000


def _ends(molecule, atom):
    """The oxygens with no other neighbour, double or charged, of an atom."""
    return [other for other in molecule.neighbours[atom]
            if molecule.elements[other] == O and len(molecule.neighbours[other]) == 1]


def _may_lose_proton(molecule, oxygen):
    """Whether an oxygen with one neighbour may carry a charge: in carboxylates, nitro groups and
    the like."""
    parent, = molecule.neighbours[oxygen]
    return molecule.elements[parent] in (N, P, S) or len(_ends(molecule, parent)) > 1


def possible_valences(molecule, atom, charged_nitrogen):
    """What an atom's bond orders may sum up to.

    Nitrogen with four bonds has a charge. Where `charged_nitrogen` is not set only such may have one
    that are ammonium or bound to a charged oxygen.
    """
    element, num_neighbours = molecule.elements[atom], len(molecule.neighbours[atom])
    if element == N:
        has_four = charged_nitrogen or num_neighbours == 4 or _ends(molecule, atom)
        return (3, 4) if has_four else (3,)
    if element == O:
        return (2, 1) if num_neighbours == 1 and _may_lose_proton(molecule, atom) else (2,)
    if element == S:
        return (2,) if num_neighbours <= 2 else (4, 6)
    return VALENCES[element]


class _Filling:
    """Adds bonds to those there are, until no atom lacks any."""

    def __init__(self, lacking, partners):
        """For each atom the numbers of bonds that it may lack, and the atoms to share some with."""
        self._lacking, self._partners = lacking, partners
        self._trials = 0

    def succeeds(self):
        # Beginning at the ends leaves no choice but in rings.
        open_atoms = [atom for atom, partners in self._partners.items() if partners]
        if self._trials > MOST_TRIALS:
            return True
        if not open_atoms:
            return all(0 in numbers for numbers in self._lacking.values())
        atom = min(open_atoms, key=lambda atom: len(self._partners[atom]))
        other = min(self._partners[atom])
        for i, j in ((atom, other), (other, atom)):
            self._partners[i].remove(j)
        before = self._lacking[atom], self._lacking[other]
        for added in range(MOST_ADDED + 1):
            self._trials += 1
            for i, numbers in zip((atom, other), before):
                self._lacking[i] = {number - added for number in numbers if number >= added}
                if not self._partners[i]:
                    self._lacking[i] &= {0}
            if self._lacking[atom] and self._lacking[other] and self.succeeds():
                return True
        self._lacking[atom], self._lacking[other] = before
        for i, j in ((atom, other), (other, atom)):
            self._partners[i].add(j)
        return False


def is_in_order(molecule, charged_nitrogen=False):
    """Whether the molecule, an EditedMolecule, can exist; see possible_valences."""
    lacking = {}
    for atom, neighbours in molecule.neighbours.items():
        lacking[atom] = {valence - len(neighbours) for valence
                         in possible_valences(molecule, atom, charged_nitrogen)
                         if valence >= len(neighbours)}
        if not lacking[atom]:
            return False
    partners = {atom: {other for other in neighbours if max(lacking[other])}
                if max(lacking[atom]) else set()
                for atom, neighbours in molecule.neighbours.items()}
    if any(not partners[atom] and 0 not in numbers for atom, numbers in lacking.items()):
        return False
    return _Filling(lacking, partners).succeeds()
