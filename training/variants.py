"""Molecules made from others by edits.

The molecules with published types are few, and most chemistry around their atoms occurs once. Edits
put the same groups next to other ones: swapping an element, replacing a hydrogen or an end,
lengthening and shortening chains, closing, bridging, fusing and opening rings, turning aromatic rings
into others, adding and taking hydrogens, joining molecules. Bond orders are unknown: an edit looks at
neighbours, hydrogens and rings only.
Where that leaves atoms with too few or too many bonds, the variant is dropped. Not all others are
likely compounds, but the teachers' doubts about them leave atoms without a label.
"""

import random

from valences import BR, C, CL, F, H, I, N, O, P, S, is_in_order

SYMBOLS = {"C": C, "N": N, "O": O, "F": F, "P": P, "S": S, "Cl": CL, "Br": BR, "I": I}
HETERO = (N, O, F, S, CL, BR, I)

# Groups as heavy atoms, the first of which is bound to the molecule: element, hydrogens, and behind
# @ the atoms before it that it is bound to.
SUBSTITUENTS = (
    # methyl, ethyl, hydroxyl, amine, halogens, methoxy
    "C3", "C2 C3@0", "O1", "N2", "F0", "Cl0", "Br0", "I0", "O0 C3@0",
    # acetyl, aldehyde, acid, carboxylate, amide, nitrile, nitro, trifluoromethyl
    "C0 O0@0 C3@0", "C1 O0@0", "C0 O0@0 O1@0", "C0 O0@0 O0@0", "C0 O0@0 N2@0", "C0 N0@0",
    "N0 O0@0 O0@0", "C0 F0@0 F0@0 F0@0",
    # sulphone, sulphonamide, thiol, thioether, methylamines, ammonium
    "S0 O0@0 O0@0 C3@0", "S0 O0@0 O0@0 N2@0", "S1", "S0 C3@0", "N1 C3@0", "N0 C3@0 C3@0", "N3",
    # vinyl, ethynyl, cyclopropyl, phosphate, ester, esters and amides the other way round
    "C1 C2@0", "C0 C1@0", "C1 C2@0 C2@0,1", "O0 P0@0 O0@1 O0@1 O0@1", "O0 C0@0 O0@1 C3@1",
    "C0 O0@0 O0@0 C3@2", "N1 C0@0 O0@1 C3@1", "C0 O0@0 N1@0 C3@2",
    # carriers of a polar end
    "C2 O1@0", "C2 N2@0", "C2 N3@0", "C1 F0@0 F0@0", "C2 C0@0 O0@1 O0@1")
RINGS = (
    # phenyl, pyridyls, pyrimidyls
    "C0 C1@0 C1@1 C1@2 C1@3 C1@0,4", "C0 N0@0 C1@1 C1@2 C1@3 C1@0,4",
    "C0 C1@0 N0@1 C1@2 C1@3 C1@0,4", "C0 C1@0 C1@1 N0@2 C1@3 C1@0,4",
    "C0 N0@0 C1@1 C1@2 C1@3 N0@0,4", "C0 N0@0 C1@1 N0@2 C1@3 C1@0,4",
    # pyridazinyl, pyrazinyl
    "C0 N0@0 N0@1 C1@2 C1@3 C1@0,4", "C0 N0@0 C1@1 C1@2 N0@3 C1@0,4",
    # thiazolyls, oxazolyl, isoxazolyls, oxadiazolyls, thiadiazolyl, triazolyls, tetrazolyl
    "C0 N0@0 C1@1 C1@2 S0@0,3", "C0 C1@0 N0@1 C1@2 S0@0,3", "C0 N0@0 C1@1 C1@2 O0@0,3",
    "C0 N0@0 O0@1 C1@2 C1@0,3", "C0 C1@0 C1@1 N0@2 O0@0,3", "C0 N0@0 N0@1 C1@2 O0@0,3",
    "C0 N0@0 O0@1 C1@2 N0@0,3", "C0 N0@0 N0@1 C1@2 S0@0,3", "N0 N0@0 C1@1 N0@2 C1@0,3",
    "N0 N0@0 N0@1 C1@2 C1@0,3", "C0 N0@0 N0@1 C1@2 N1@0,3", "C0 N0@0 N0@1 N0@2 N1@0,3",
    # imidazolyls, pyrazolyls, pyrrolyl
    "C0 N0@0 C1@1 C1@2 N1@0,3", "C0 C1@0 N1@1 N0@2 C1@0,3", "C0 C1@0 N0@1 N1@2 C1@0,3",
    "N0 C1@0 C1@1 C1@2 C1@0,3", "C0 N1@0 C1@1 C1@2 C1@0,3",
    # indolyl, benzimidazolyl, naphthyl, benzothiazolyl, benzofuranyl
    "C0 C1@0 N1@1 C0@2 C1@3 C1@4 C1@5 C1@6 C0@0,3,7",
    "C0 N1@0 C0@1 C1@2 C1@3 C1@4 C1@5 C0@2,6 N0@0,7",
    "C0 N0@0 C0@1 C1@2 C1@3 C1@4 C1@5 C0@2,6 S0@0,7",
    "C0 C1@0 C0@1 C1@2 C1@3 C1@4 C1@5 C0@2,6 O0@0,7",
    "C0 C1@0 C1@1 C0@2 C1@3 C1@4 C1@5 C1@6 C0@3,7 C1@0,8",
    # pyridones, pyrimidinones, uracilyl, pyridazinone
    "N0 C0@0 O0@1 C1@1 C1@3 C1@4 C1@0,5", "C0 C0@0 O0@1 N1@1 C1@3 C1@4 C1@0,5",
    "C0 C1@0 C0@1 O0@2 C1@2 C1@4 N1@0,5", "C0 N0@0 C1@1 C1@2 C0@3 O0@4 N1@0,4",
    "N0 C0@0 O0@1 N1@1 C0@3 O0@4 C1@4 C1@0,6", "C0 N0@0 N1@1 C0@2 O0@3 C1@3 C1@0,5",
    # lactams, imides, oxazolidinone, hydantoinyl, dihydroimidazolyl, dihydrooxazolyl
    "N0 C0@0 O0@1 C2@1 C2@3 C2@0,4", "N0 C0@0 O0@1 C2@1 C2@3 C0@0,4 O0@5",
    "N0 C0@0 O0@1 O0@1 C2@3 C2@0,4", "C1 C0@0 O0@1 N1@1 C0@3 O0@4 N1@0,4",
    "C0 N0@0 C2@1 C2@2 N1@0,3", "C0 N0@0 C2@1 C2@2 O0@0,3",
    # small rings
    "C1 C2@0 C2@1 C2@0,2", "N0 C2@0 C2@1 C2@0,2", "C1 C2@0 O0@1 C2@0,2", "C1 C2@0 N1@1 C2@0,2",
    "C1 C2@0 C2@0,1", "C1 C2@0 O0@0,1", "N0 C2@0 C2@0,1", "N1 C1@0 C2@1 C2@1,2",
    "N0 C0@0 O0@1 C2@1 C2@0,3",
    # tetrahydrofuranyls, tetrahydropyranyl, dioxolanyl, pyrrolidyl, cyclopentyl and -enyl,
    # thiomorpholine, cyclohexenyl
    "C1 C2@0 C2@1 C2@2 O0@0,3", "C1 C2@0 O0@1 C2@2 C2@0,3", "C1 C2@0 C2@1 O0@2 C2@3 C2@0,4",
    "C1 O0@0 C2@1 C2@2 O0@0,3", "C1 N1@0 C2@1 C2@2 C2@0,3", "C1 C2@0 C2@1 C2@2 C2@0,3",
    "C1 C2@0 C1@1 C1@2 C2@0,3", "N0 C2@0 C2@1 S0@2 C2@3 C2@0,4", "C0 C1@0 C2@1 C2@2 C2@3 C2@0,4",
    # thienyl, furyl, imidazolyl, pyrazolyls
    "C0 C1@0 C1@1 C1@2 S0@0,3", "C0 C1@0 C1@1 S0@2 C1@0,3", "C0 C1@0 C1@1 O0@2 C1@0,3",
    "C0 C1@0 C1@1 C1@2 O0@0,3", "N0 C1@0 C1@1 N0@2 C1@0,3",
    "C0 N0@0 C1@1 C1@2 N1@0,3", "N0 N0@0 C1@1 C1@2 C1@0,3",
    # pyrrolidine, morpholine, cyclohexyl, piperidyl, piperazine
    "N0 C2@0 C2@1 C2@2 C2@0,3", "N0 C2@0 C2@1 O0@2 C2@3 C2@0,4",
    "C1 C2@0 C2@1 C2@2 C2@3 C2@0,4", "C1 C2@0 C2@1 N1@2 C2@3 C2@0,4",
    "N0 C2@0 C2@1 N1@2 C2@3 C2@0,4")
RING_SHARE = 0.4  # of the hydrogens that are replaced

# (Element, neighbours, hydrogens among them) -> (element, hydrogens) that can stand in its place.
SWAPS = {
    (C, 4, 3): ((N, 2), (O, 1), (F, 0), (CL, 0), (S, 1)),
    (N, 3, 2): ((C, 3), (O, 1), (F, 0)),
    (O, 2, 1): ((C, 3), (N, 2), (F, 0)),
    (S, 2, 1): ((O, 1),),
    (F, 1, 0): ((C, 3), (CL, 0), (BR, 0), (O, 1), (I, 0)),
    (CL, 1, 0): ((C, 3), (BR, 0), (F, 0), (I, 0)),
    (BR, 1, 0): ((C, 3), (CL, 0), (I, 0)),
    (C, 4, 2): ((N, 1), (O, 0), (S, 0)),
    (N, 3, 1): ((C, 2), (O, 0), (S, 0)),
    (O, 2, 0): ((C, 2), (N, 1), (S, 0)),
    (S, 2, 0): ((O, 0), (N, 1), (C, 2)),
    (C, 4, 1): ((N, 0),),
    # with a double bond
    (C, 3, 1): ((N, 0),),
    (N, 2, 0): ((C, 1),),
    (C, 3, 2): ((N, 1), (O, 0)),
    (O, 1, 0): ((S, 0), (N, 1), (C, 2)),
    (S, 1, 0): ((O, 0),),
    # ammonium
    (N, 4, 1): ((C, 1),), (N, 4, 2): ((C, 2),), (N, 4, 3): ((C, 3),)}
ENDS = ((C, 4, 3), (N, 3, 2), (N, 4, 3), (O, 2, 1), (F, 1, 0), (CL, 1, 0), (BR, 1, 0))
LINKS = ((C, 2), (C, 2), (N, 1), (O, 0))  # to lengthen a chain or bridge with: element, hydrogens
# What makes a ring with two flat neighbours, in the notation of SUBSTITUENTS; the last atom closes it.
FUSED = (
    # benzo, pyridos, pyrimido, pyrazino
    "C1 C1@0 C1@1 C1@2", "N0 C1@0 C1@1 C1@2", "C1 N0@0 C1@1 C1@2", "N0 C1@0 N0@1 C1@2",
    "N0 C1@0 C1@1 N0@2",
    # pyrrolo, imidazo, pyrazolo, furo, oxazolo, thieno, thiazolo
    "N1 C1@0 C1@1", "N1 C1@0 N0@1", "N1 N0@0 C1@1", "O0 C1@0 C1@1", "O0 C1@0 N0@1", "S0 C1@0 C1@1",
    "S0 C1@0 N0@1",
    # cyclopenteno, cyclohexeno, dioxolo, dihydrofuro, dihydropyrano, dihydropyrrolo, tetrahydropyrido
    "C2 C2@0 C2@1", "C2 C2@0 C2@1 C2@2", "O0 C2@0 O0@1", "O0 C2@0 C2@1", "O0 C2@0 C2@1 C2@2",
    "C2 N1@0 C2@1", "C2 N1@0 C2@1 C2@2",
    # pyranones and pyridones
    "O0 C0@0 O0@1 C1@1 C1@3", "N1 C0@0 O0@1 C1@1 C1@3", "C0 O0@0 N1@0 C1@2 C1@3")

MOST_ATTEMPTS = 12
LARGEST_JOINED = 60  # atoms
PARTNER_SIZES = range(4, 31)  # atoms of a molecule to join another one
SMALLEST, LARGEST = 3, 70  # atoms of a variant


class EditedMolecule:
    """Atoms by number, with their neighbours; numbers of removed atoms are not used again."""

    def __init__(self, elements, bonds):
        self.elements = dict(enumerate(elements))
        self.neighbours = {atom: [] for atom in self.elements}
        self._next = len(elements)
        for i, j in bonds:
            self.bind(i, j)

    def copy(self):
        other = EditedMolecule((), ())
        other.elements = dict(self.elements)
        other.neighbours = {atom: list(atoms) for atom, atoms in self.neighbours.items()}
        other._next = self._next
        return other

    def __len__(self):
        return len(self.elements)

    def add(self, element, *bound_to):
        atom = self._next
        self._next += 1
        self.elements[atom] = element
        self.neighbours[atom] = []
        for other in bound_to:
            self.bind(atom, other)
        return atom

    def bind(self, i, j):
        self.neighbours[i].append(j)
        self.neighbours[j].append(i)

    def cut(self, i, j):
        self.neighbours[i].remove(j)
        self.neighbours[j].remove(i)

    def remove(self, atom):
        for other in self.neighbours.pop(atom):
            self.neighbours[other].remove(atom)
        del self.elements[atom]

    def remove_with_hydrogens(self, atom):
        self.set_hydrogens(atom, 0)
        self.remove(atom)

    def hydrogens(self, atom):
        return [other for other in self.neighbours[atom] if self.elements[other] == H]

    def heavy_neighbours(self, atom):
        return [other for other in self.neighbours[atom] if self.elements[other] != H]

    def set_hydrogens(self, atom, count):
        present = self.hydrogens(atom)
        for hydrogen in present[count:]:
            self.remove(hydrogen)
        for _ in range(count - len(present)):
            self.add(H, atom)

    def kind(self, atom):
        return (self.elements[atom], len(self.neighbours[atom]), len(self.hydrogens(atom)))

    def is_saturated_carbon(self, atom):
        return self.elements[atom] == C and len(self.neighbours[atom]) == 4

    def hydrogens_on(self, elements):
        """(hydrogen, its parent) for the parents of these elements."""
        return [(atom, self.neighbours[atom][0]) for atom, element in self.elements.items()
                if element == H and self.elements[self.neighbours[atom][0]] in elements]

    def reached_from(self, atom):
        reached, queue = {atom}, [atom]
        for current in queue:
            for other in self.neighbours[current]:
                if other not in reached:
                    reached.add(other)
                    queue.append(other)
        return reached

    def graph(self):
        """(elements, sorted bonds) with the heavy atoms first."""
        atoms = sorted(self.elements, key=lambda atom: (self.elements[atom] == H, atom))
        number = {atom: i for i, atom in enumerate(atoms)}
        bonds = sorted((number[i], number[j]) for i in atoms for j in self.neighbours[i]
                       if number[i] < number[j])
        return tuple(self.elements[atom] for atom in atoms), tuple(bonds)


def attach(molecule, parent, group):
    """Binds a group in the notation of SUBSTITUENTS to an atom, which must have room for it.

    Returns the group's last atom.
    """
    atoms = []
    for word in group.split():
        head, _, tail = word.partition("@")
        bound_to = [atoms[int(number)] for number in tail.split(",")] if tail else [parent]
        atoms.append(molecule.add(SYMBOLS[head[:-1]], *bound_to))
        molecule.set_hydrogens(atoms[-1], int(head[-1]))
    return atoms[-1]


# Each edit returns whether it could be made; if not, the molecule is as before.

def swap_element(molecule, chance, _partners):
    atoms = [atom for atom, element in molecule.elements.items()
             if element != H and molecule.kind(atom) in SWAPS]
    if not atoms:
        return False
    atom = chance.choice(atoms)
    kind = molecule.kind(atom)
    others = [molecule.elements[other] for other in molecule.heavy_neighbours(atom)]
    # Nitro groups, phosphates and sulphones keep their oxygens; chains are common enough.
    if kind == (O, 1, 0) and any(element in (N, P, S) for element in others):
        return False
    if kind == (C, 4, 2) and chance.random() < 0.3:
        return False
    element, hydrogens = chance.choice(SWAPS[kind])
    # Two of these side by side are rare in stable compounds.
    if (element in HETERO and element != N and any(other in HETERO for other in others)
            and chance.random() < 0.8):
        return False
    molecule.elements[atom] = element
    molecule.set_hydrogens(atom, hydrogens)
    return True


def replace_hydrogen(molecule, chance, _partners):
    places = molecule.hydrogens_on((C, N))
    if not places:
        return False
    hydrogen, parent = chance.choice(places)
    group = chance.choice(RINGS if chance.random() < RING_SHARE else SUBSTITUENTS)
    if molecule.elements[parent] == N and (group == "Cl0" or not group.startswith("C")):
        return False
    molecule.remove(hydrogen)
    attach(molecule, parent, group)
    return True


def remove_end(molecule, chance, _partners):
    ends = [atom for atom in molecule.elements if molecule.kind(atom) in ENDS
            and len(molecule.heavy_neighbours(atom)) == 1]
    if not ends or len(molecule) < 6:
        return False
    atom = chance.choice(ends)
    parent, = molecule.heavy_neighbours(atom)
    molecule.remove_with_hydrogens(atom)
    molecule.add(H, parent)
    return True


def lengthen(molecule, chance, _partners):
    bonds = [(i, j) for i in molecule.elements if molecule.is_saturated_carbon(i)
             for j in molecule.heavy_neighbours(i)]
    if not bonds:
        return False
    i, j = chance.choice(bonds)
    element, hydrogens = chance.choice(LINKS)
    if molecule.elements[j] != C:
        element, hydrogens = LINKS[0]
    molecule.cut(i, j)
    molecule.set_hydrogens(molecule.add(element, i, j), hydrogens)
    return True


def shorten(molecule, chance, _partners):
    links = []
    for atom in molecule.elements:
        ends = molecule.heavy_neighbours(atom)
        if molecule.kind(atom) != (C, 4, 2) or len(ends) != 2:
            continue
        i, j = ends
        # No ring of three may close, and no bond between two other elements may arise.
        common = set(molecule.neighbours[i]) & set(molecule.neighbours[j])
        if (j not in molecule.neighbours[i] and common == {atom}
                and C in (molecule.elements[i], molecule.elements[j])):
            links.append((atom, i, j))
    if not links:
        return False
    atom, i, j = chance.choice(links)
    molecule.remove_with_hydrogens(atom)
    molecule.bind(i, j)
    return True


def _distances(molecule, start, most):
    """The number of bonds to each heavy atom that is no more than so many bonds away."""
    distances, queue = {start: 0}, [start]
    for atom in queue:
        if distances[atom] == most:
            break
        for other in molecule.heavy_neighbours(atom):
            if other not in distances:
                distances[other] = distances[atom] + 1
                queue.append(other)
    return distances


def close_ring(molecule, chance, _partners):
    """Makes a ring of three to six, mostly of five or six."""
    starts = [atom for atom, element in molecule.elements.items()
              if element in (C, N) and molecule.hydrogens(atom)]
    if not starts:
        return False
    start = chance.choice(starts)
    wanted = (2, 3) if chance.random() < 0.3 else (4, 5)
    ends = [atom for atom, distance in _distances(molecule, start, 5).items() if distance in wanted
            and molecule.elements[atom] == C and molecule.hydrogens(atom)]
    if not ends:
        return False
    end = chance.choice(ends)
    for atom in (start, end):
        molecule.remove(molecule.hydrogens(atom)[0])
    molecule.bind(start, end)
    return True


def bridge(molecule, chance, _partners):
    """Binds an atom to a saturated carbon and to another, or to a nitrogen with three neighbours, one to
    three bonds away."""
    starts = [atom for atom in molecule.elements
              if molecule.is_saturated_carbon(atom) and molecule.hydrogens(atom)]
    if not starts:
        return False
    start, wanted = chance.choice(starts), chance.choice((1, 1, 2, 3, 3))
    ends = [end for end, distance in _distances(molecule, start, wanted).items()
            if distance == wanted and molecule.hydrogens(end)
            and (molecule.is_saturated_carbon(end) or molecule.kind(end)[:2] == (N, 3))]
    if not ends:
        return False
    end = chance.choice(ends)
    element, hydrogens = chance.choice(LINKS) if molecule.elements[end] == C else LINKS[0]
    for atom in (start, end):
        molecule.remove(molecule.hydrogens(atom)[0])
    molecule.set_hydrogens(molecule.add(element, start, end), hydrogens)
    return True


def fuse_ring(molecule, chance, _partners):
    """Makes a ring with two flat CH side by side."""
    pairs = [(i, j) for i in molecule.elements if molecule.kind(i) == (C, 3, 1)
             for j in molecule.heavy_neighbours(i) if molecule.kind(j) == (C, 3, 1)]
    if not pairs:
        return False
    first, last = chance.choice(pairs)
    for atom in (first, last):
        molecule.set_hydrogens(atom, 0)
    molecule.bind(attach(molecule, first, chance.choice(FUSED)), last)
    return True


def _rings(molecule, start, size):
    """The rings of this many atoms through an atom, each as a list that begins with it."""
    rings, paths = [], [[start]]
    while paths:
        path = paths.pop()
        for other in molecule.heavy_neighbours(path[-1]):
            if len(path) == size:
                # Found in both directions.
                if other == start and path[1] < path[-1]:
                    rings.append(path)
            elif other not in path:
                paths.append(path + [other])
    return rings


def _is_flat(molecule, atom):
    return molecule.kind(atom)[:2] in ((C, 3), (N, 2))


def contract_ring(molecule, chance, _partners):
    """Makes an aromatic ring of five: two carbons of a ring of six become S, O or NH."""
    atoms = [atom for atom in molecule.elements if molecule.kind(atom) == (C, 3, 1)]
    if not atoms:
        return False
    rings = [ring for ring in _rings(molecule, chance.choice(atoms), 6)
             if all(_is_flat(molecule, atom) for atom in ring)
             and molecule.kind(ring[1]) == (C, 3, 1)]
    if not rings:
        return False
    first, second, third = rings[0][:3]
    before = rings[0][-1]
    molecule.remove_with_hydrogens(first)
    molecule.remove_with_hydrogens(second)
    element, hydrogens = chance.choice(((S, 0), (O, 0), (N, 1)))
    molecule.set_hydrogens(molecule.add(element, before, third), hydrogens)
    return True


def expand_ring(molecule, chance, _partners):
    """The other way round: S, O or NH in a flat ring of five becomes CH=CH."""
    atoms = [atom for atom in molecule.elements
             if molecule.kind(atom) in ((S, 2, 0), (O, 2, 0), (N, 3, 1))]
    if not atoms:
        return False
    atom = chance.choice(atoms)
    rings = [ring for ring in _rings(molecule, atom, 5)
             if all(_is_flat(molecule, other) for other in ring[1:])]
    if not rings:
        return False
    ring = rings[0]
    molecule.remove_with_hydrogens(atom)
    first = molecule.add(C, ring[-1])
    molecule.set_hydrogens(molecule.add(C, first, ring[1]), 1)
    molecule.set_hydrogens(first, 1)
    return True


def _lactam_places(molecule, nitrogen_kind, carbon_kind):
    """(nitrogen, carbon) of these kinds at a distance of one or three bonds in a ring of six."""
    places = []
    for atom in molecule.elements:
        if molecule.kind(atom) == nitrogen_kind:
            for ring in _rings(molecule, atom, 6):
                places += [(atom, ring[k]) for k in (1, 3, 5)
                           if molecule.kind(ring[k]) == carbon_kind]
    return places


def make_lactam(molecule, chance, _partners):
    """N and CH (or C-OH) of a ring of six become NH and C=O."""
    if chance.random() < 0.5:
        places = _lactam_places(molecule, (N, 2, 0), (C, 3, 1))
        if not places:
            return False
        nitrogen, carbon = chance.choice(places)
        molecule.set_hydrogens(carbon, 0)
        molecule.add(O, carbon)
    else:
        places = [(nitrogen, carbon, other)
                  for nitrogen, carbon in _lactam_places(molecule, (N, 2, 0), (C, 3, 0))
                  for other in molecule.neighbours[carbon] if molecule.kind(other) == (O, 2, 1)]
        if not places:
            return False
        nitrogen, carbon, oxygen = chance.choice(places)
        molecule.set_hydrogens(oxygen, 0)
    molecule.set_hydrogens(nitrogen, 1)
    return True


def unmake_lactam(molecule, chance, _partners):
    """The other way round; C=O becomes C-OH, CH or C with another end."""
    places = [(nitrogen, carbon, other)
              for nitrogen, carbon in _lactam_places(molecule, (N, 3, 1), (C, 3, 0))
              for other in molecule.neighbours[carbon] if molecule.kind(other) == (O, 1, 0)]
    if not places:
        return False
    nitrogen, carbon, oxygen = chance.choice(places)
    molecule.set_hydrogens(nitrogen, 0)
    if chance.random() < 0.4:
        molecule.set_hydrogens(oxygen, 1)
    else:
        molecule.remove(oxygen)
        if chance.random() < 0.4:
            molecule.set_hydrogens(carbon, 1)
        else:
            attach(molecule, carbon, chance.choice(SUBSTITUENTS))
    return True


def saturate(molecule, chance, _partners):
    """CH=CH in a ring of five or six becomes CH2-CH2."""
    atoms = [atom for atom in molecule.elements if molecule.kind(atom) == (C, 3, 1)]
    if not atoms:
        return False
    atom = chance.choice(atoms)
    others = [ring[1] for size in (5, 6) for ring in _rings(molecule, atom, size)
              if molecule.kind(ring[1]) == (C, 3, 1)]
    if not others:
        return False
    molecule.set_hydrogens(atom, 2)
    molecule.set_hydrogens(chance.choice(others), 2)
    return True


def desaturate(molecule, chance, _partners):
    bonds = [(i, j) for i in molecule.elements if molecule.is_saturated_carbon(i)
             for j in molecule.heavy_neighbours(i)
             if i < j and molecule.is_saturated_carbon(j)
             and molecule.hydrogens(i) and molecule.hydrogens(j)]
    if not bonds:
        return False
    for atom in chance.choice(bonds):
        molecule.remove(molecule.hydrogens(atom)[0])
    return True


def _along_double_bonds(molecule, start):
    """The atoms an odd number of bonds away, five at most, with nothing but flat atoms between."""
    distances, ends = {start: 0}, []
    queue = [start]
    for atom in queue:
        if distances[atom] == 5:
            break
        for other in molecule.heavy_neighbours(atom):
            if other not in distances:
                distances[other] = distances[atom] + 1
                if distances[other] % 2:
                    ends.append(other)
                if _is_flat(molecule, other):
                    queue.append(other)
    return ends


def add_hydrogens(molecule, chance, _partners):
    """Adds one to each end of a double bond, or of several with single ones between; no more than one of
    the ends is an oxygen."""
    kinds = ((C, 3), (N, 2), (O, 1))
    starts = [atom for atom in molecule.elements if _is_flat(molecule, atom)]
    if not starts:
        return False
    start = chance.choice(starts)
    ends = [end for end in _along_double_bonds(molecule, start) if molecule.kind(end)[:2] in kinds]
    if not ends:
        return False
    for atom in (start, chance.choice(ends)):
        molecule.add(H, atom)
    return True


def take_hydrogens(molecule, chance, _partners):
    """The other way round: makes dienes, quinones, imines and the like."""
    kinds = ((C, 4), (N, 3), (O, 2))
    places = [atom for atom in molecule.elements
              if molecule.kind(atom)[:2] in kinds and molecule.hydrogens(atom)]
    if not places:
        return False
    start = chance.choice(places)
    ends = [end for end in _along_double_bonds(molecule, start) if end in places]
    if not ends:
        return False
    for atom in (start, chance.choice(ends)):
        molecule.remove(molecule.hydrogens(atom)[0])
    return True


def fluorinate(molecule, chance, _partners):
    """All hydrogens of a saturated carbon become fluorine, and maybe those of the next ones in a chain."""
    def may_be_fluorinated(atom, least):
        return molecule.is_saturated_carbon(atom) and len(molecule.hydrogens(atom)) >= least

    atoms = [atom for atom in molecule.elements if may_be_fluorinated(atom, 2)]
    if not atoms:
        return False
    atom = chance.choice(atoms)
    while True:
        for hydrogen in molecule.hydrogens(atom):
            molecule.elements[hydrogen] = F
        following = [other for other in molecule.heavy_neighbours(atom)
                     if may_be_fluorinated(other, 1)]
        if not following or chance.random() < 0.4:
            return True
        atom = chance.choice(following)


def join(molecule, chance, partners):
    """Binds another molecule in place of a hydrogen."""
    partner = chance.choice(partners)
    places, partner_places = molecule.hydrogens_on((C,)), partner.hydrogens_on((C, N))
    if len(partner) + len(molecule) > LARGEST_JOINED or not places or not partner_places:
        return False
    hydrogen, parent = chance.choice(places)
    partner_hydrogen, partner_parent = chance.choice(partner_places)
    molecule.remove(hydrogen)
    number = {atom: molecule.add(element) for atom, element in partner.elements.items()
              if atom != partner_hydrogen}
    for atom in number:
        for other in partner.neighbours[atom]:
            if other in number and atom < other:
                molecule.bind(number[atom], number[other])
    molecule.bind(parent, number[partner_parent])
    return True


def cut_bond(molecule, chance, _partners):
    """Opens a ring, or drops all beyond the bond."""
    bonds = [(i, j) for i in molecule.elements if molecule.is_saturated_carbon(i)
             for j in molecule.neighbours[i] if molecule.is_saturated_carbon(j) and i < j]
    if not bonds:
        return False
    i, j = chance.choice(bonds)
    molecule.cut(i, j)
    reached = molecule.reached_from(i)
    for atom in [atom for atom in molecule.elements if atom not in reached]:
        molecule.remove(atom)
    for atom in (i, j):
        if atom in reached:
            molecule.add(H, atom)
    return True


EDITS = ((0.21, swap_element), (0.18, replace_hydrogen), (0.10, remove_end), (0.04, lengthen),
         (0.04, shorten), (0.04, close_ring), (0.04, bridge), (0.04, fuse_ring), (0.04, join),
         (0.02, cut_bond), (0.04, contract_ring), (0.03, expand_ring), (0.03, make_lactam),
         (0.02, unmake_lactam), (0.02, saturate), (0.02, desaturate), (0.04, add_hydrogens),
         (0.03, take_hydrogens), (0.02, fluorinate))


def variant_of(molecule, chance, partners, edit_counts):
    """An edited copy, or None if no edit could be made."""
    molecule = molecule.copy()
    weights, edits = zip(*EDITS)
    wanted, made = chance.choice(edit_counts), 0
    for _ in range(MOST_ATTEMPTS):
        edit, = chance.choices(edits, weights)
        made += edit(molecule, chance, partners)
        if made == wanted:
            break
    return molecule if made else None


def _check_for(molecule):
    """The strictest check of valences that the molecule itself passes."""
    for charged_nitrogen in (False, True):
        if is_in_order(molecule, charged_nitrogen):
            return lambda variant: is_in_order(variant, charged_nitrogen)
    return lambda variant: True


def variants_of(graphs, partner_graphs, settings):
    """Variants of the molecules, all given as (atomic numbers, bonds).

    None comes twice with its atoms in the same order, and none has impossible valences unless the
    molecule that it was made from has some: a radical, say, or an unusual charge.
    """
    chance = random.Random(settings.seed)
    partners = [EditedMolecule(elements, bonds) for elements, bonds in partner_graphs
                if len(elements) in PARTNER_SIZES]
    seen, result = set(), []
    for elements, bonds in graphs:
        molecule = EditedMolecule(elements, bonds)
        is_possible = _check_for(molecule)
        for _ in range(settings.per_molecule):
            variant = variant_of(molecule, chance, partners, settings.edit_counts)
            if (variant is None or not SMALLEST <= len(variant) <= LARGEST
                    or not is_possible(variant)):
                continue
            graph = variant.graph()
            if hash(graph) not in seen:
                seen.add(hash(graph))
                result.append(graph)
    return result
