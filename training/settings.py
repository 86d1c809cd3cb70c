"""All settings of the training in one place."""

from dataclasses import dataclass, replace


@dataclass(frozen=True)
class TeacherSettings:
    """The larger networks that type the variants; their probabilities are averaged."""
    seeds: tuple = (1, 2)   # one network for each
    width: int = 64         # channels of an atom
    layers: int = 7         # bonds that an atom's surroundings reach
    epochs: int = 8
    repeats: int = 6        # how often an epoch shows each molecule with published types
    batch_atoms: int = 3000  # heavy atoms in a step
    rate: float = 2e-3


@dataclass(frozen=True)
class VariantSettings:
    """New molecules made from others."""
    seed: int
    per_molecule: int   # attempts
    edit_counts: tuple  # one of these is drawn for each variant


@dataclass(frozen=True)
class StudentSettings:
    """One of the program's networks. Of several seeds the network with the lowest loss is taken."""
    steps: int
    seeds: tuple = (1,)
    # (step, number): the seeds are compared after these steps, and only the best ones go on. A
    # network this small does not forget where it began.
    rounds: tuple = ()
    # The seeds are dealt to this many processes. Each holds all rounds among its own; of what they
    # leave, the best go on, as many as the last round says.
    start_parts: int = 1
    # Molecules without published types are dealt into as many groups, one of which is in each step;
    # those with published types into fewer, of which the former is a multiple. Special molecules are
    # in every step.
    groups: int = 32
    published_groups: int = 4
    # Shares of the sources in the loss; within a source atoms count alike, but for the two weights
    # below.
    published_share: float = 0.10
    drug_like_share: float = 0.10
    variant_share: float = 0.40
    drug_like_variant_share: float = 0.40
    special_weight: float = 5.0
    substitute_weight: float = 1.0  # of atoms that are not reachable, see molecules.Atoms
    # The loss is -log p at first and becomes (1 - p^q) / q between two fractions of the steps.
    q: float = 0.7
    q_start: float = 0.05
    q_end: float = 0.5
    # The rate rises over the first steps and falls by a cosine.
    rate: float = 0.06
    rate_rise_steps: int = 100
    averaging: float = 0.998  # of the weights, at each step
    # Hidden channels found idle get a new start, every so many steps between two fractions of them:
    # in long trainings, that is.
    # Not for long: where the last one is of little use, new ones would disturb the others for ever.
    revive_every: int = 1000
    revive_begin: float = 0.03
    revive_end: float = 0.06
    # Every so many steps, and where the seeds have been compared, molecules are dealt anew into fewer
    # groups without most of the atoms that the network learns nothing from (0: never).
    sift_every: int = 0
    momentum: float = 0.95
    second_momentum: float = 0.95
    # What is added to the scale of each gradient, as a share of the largest one. The gradients of an
    # idle channel are rounding errors, and steps in proportion to their scale would let it drift.
    least_scale: float = 1e-5
    # Unsorted, the optimiser's eigenvectors are exchanged by rounding errors now and then. That has
    # ruined long trainings; but carbon, which it did not ruin, came to a lower loss that way.
    sort_eigenvectors: bool = True
    report_every: int = 1000
    afterwards: "StudentSettings" = None  # a second training, from the network of the first


@dataclass(frozen=True)
class Settings:
    with_validation: bool
    teacher: TeacherSettings
    variants: VariantSettings            # of the molecules with published types
    drug_like_variants: VariantSettings
    students: dict  # atomic number -> StudentSettings
    # A type that the teacher thinks less probable is no label.
    confidence: float = 0.7
    # The least of the highest allowed outputs over all atoms to train with, see folding.py.
    output_margin: float = 10.0
    # Molecules to read, None for all.
    published_limit: int = None
    drug_like_limit: int = None


SHIPPED_WITH_VALIDATION = True

SEEDS = tuple(range(1, 49))

CARBON = StudentSettings(
    steps=700000, seeds=SEEDS, rounds=((6000, 6), (40000, 1)), start_parts=2, groups=960,
    published_groups=16, published_share=0.20, drug_like_variant_share=0.30, substitute_weight=2.0,
    q=0.5, rate=0.03, averaging=0.9993, least_scale=0.0, sort_eigenvectors=False, sift_every=50000,
    report_every=20000)

# To train on, at a rate that leaves a network what it has learnt. Carbon's is shown more of the
# published molecules than at first, since it is still short of these.
CARBON_AFTERWARDS = replace(
    CARBON, steps=120000, rate=0.015, seeds=(1,), rounds=(), start_parts=1, q_end=0.0,
    revive_begin=1.0, sift_every=20000, published_share=0.35, drug_like_variant_share=0.15,
    substitute_weight=3.0)

# In the order in which they are trained: the longest first, so that two processes end together.
# Boron and iodine have one type each and nothing to learn.
STUDENTS = {
    6: replace(CARBON, afterwards=CARBON_AFTERWARDS),
    1: StudentSettings(steps=100000, seeds=SEEDS[:12], rounds=((3000, 1),), groups=240),
    7: StudentSettings(steps=60000, seeds=SEEDS[:6], rounds=((3000, 1),), groups=120),
    8: StudentSettings(steps=40000, seeds=SEEDS[:6], rounds=((3000, 1),), groups=120),
    16: StudentSettings(steps=8000, groups=20, rate=0.03),
    9: StudentSettings(steps=20000, groups=4, seeds=SEEDS[:3]),
    17: StudentSettings(steps=5000, groups=12, seeds=SEEDS[:6], rate=0.03),
    35: StudentSettings(steps=5000, groups=4, seeds=SEEDS[:6], rate=0.03),
    15: StudentSettings(steps=5000, groups=4, seeds=SEEDS[:6], rate=0.03),
    5: StudentSettings(steps=0),
    53: StudentSettings(steps=0),
}

# To train on from networks that are there; those of elements that are not named stay as they are.
FURTHER = {
    6: CARBON_AFTERWARDS,
    9: replace(STUDENTS[9], steps=10000, rate=0.03, seeds=(1,), rounds=(), q_end=0.0,
               revive_begin=1.0),
}

FULL = Settings(SHIPPED_WITH_VALIDATION, TeacherSettings(),
                VariantSettings(seed=1, per_molecule=80, edit_counts=(1, 1, 2, 2, 3)),
                VariantSettings(seed=5, per_molecule=1, edit_counts=(1, 1, 2)), STUDENTS)


def _trial_of_student(student):
    if student is None:
        return None
    return replace(student, steps=min(student.steps, 50), groups=2, published_groups=2,
                   report_every=25, revive_every=1, sift_every=min(student.sift_every, 15),
                   seeds=student.seeds[:3], rounds=((10, 2), (20, 1)) if student.rounds else (),
                   afterwards=_trial_of_student(student.afterwards))


def trial_of(settings):
    """The same in small, to see that everything runs. Its networks are of no use."""
    students = {element: _trial_of_student(student)
                for element, student in settings.students.items()}
    return replace(settings, students=students, published_limit=300, drug_like_limit=600,
                   teacher=replace(settings.teacher, epochs=1, repeats=1, width=32, layers=3),
                   variants=replace(settings.variants, per_molecule=2), confidence=0.1)


def add_arguments(parser):
    parser.add_argument("--without-validation", action="store_true",
                        help="leave the validation molecules out of the training")
    parser.add_argument("--trial", action="store_true",
                        help="few molecules and steps, to see that everything runs")


def settings_of(arguments, students=None):
    """What the command line asks for; `students` are to take the place of the usual ones."""
    settings = FULL
    if students is not None:
        settings = replace(settings, students=students)
    if arguments.without_validation:
        settings = replace(settings, with_validation=False)
    return trial_of(settings) if arguments.trial else settings


def arguments_of(arguments):
    """The command line that `add_arguments` reads as these arguments."""
    return [option for option, given in (("--without-validation", arguments.without_validation),
                                         ("--trial", arguments.trial)) if given]
