// Water and ions around a molecule: the rules one by one, the program's ways against plain ones
// that copy a molecule for every water, and the templates that the project ships.
#include "Solvate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "ComputationalGeometry.h"
#include "PlainPatching.h"
#include "TestSupport.h"

namespace orvane {
namespace {

namespace fs = std::filesystem;
using testing_support::Describe;
using testing_support::LinkDataFolder;
using testing_support::MessageOf;
using testing_support::OutputOf;
using testing_support::SourceFolder;
using testing_support::TemporaryFolder;

using Points = std::vector<Vec3D>;
using Indices = std::vector<int>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void LoadTemplate(const std::string& name, PDB& unit, Points& coords) {
  unit = PDB();
  unit.Load((SourceFolder() / "data" / (name + ".pdb")).string());
  unit.LoadPSFFile((SourceFolder() / "data" / (name + ".psf")).string());
  unit.GetCoords(coords);
}

// One residue of atoms at these places; the topology has as many atoms, of which the first carries
// all the charge, and a chain of bonds.
PDB SoluteOf(const Points& places, double charge = 0.0) {
  PDB solute;
  std::vector<MolecularMechanicsTopology::Atom> atoms;
  TermList bonds(2);
  for (const Vec3D& place : places) {
    PDB::Atom& atom = solute.atoms.emplace_back();
    atom.Name = "C";
    atom.ResName = "LIG";
    atom.ChainID = "A";
    atom.ResSeq = 7;
    atom.Coord = place;
    MolecularMechanicsTopology::Atom& in_topology = atoms.emplace_back();
    in_topology.name = "C";
    in_topology.charge = atoms.size() == 1 ? charge : 0.0;
    if (atoms.size() > 1) {
      bonds.push_back({static_cast<int>(atoms.size()) - 2, static_cast<int>(atoms.size()) - 1});
    }
  }
  solute.Analyze();
  solute.topology.Build(atoms, bonds, TermList(4), TermList(4));
  return solute;
}

// Two atoms whose centre is the origin, out of the way of everything.
PDB EmptyPlace(double charge = 0.0) {
  return SoluteOf({Vec3D(1000.0, 0.0, 0.0), Vec3D(-1000.0, 0.0, 0.0)}, charge);
}

Points AddedBehind(std::size_t atoms, const PDB& molecule) {
  Points coords;
  for (std::size_t i = atoms; i < molecule.atoms.size(); ++i) {
    coords.push_back(molecule.atoms[i].Coord);
  }
  return coords;
}

// The centres of the waters behind so many atoms.
Points WaterCenters(std::size_t atoms, const PDB& molecule) {
  const Points coords = AddedBehind(atoms, molecule);
  Points centers;
  for (std::size_t i = 0; i + 2 < coords.size(); i += 3) {
    centers.push_back(ComputationalGeometry::CalcCenter(3, &coords[i], nullptr));
  }
  return centers;
}

void ExpectNear(const Vec3D& actual, const Vec3D& expected) {
  EXPECT_NEAR(actual.x, expected.x, 1e-9);
  EXPECT_NEAR(actual.y, expected.y, 1e-9);
  EXPECT_NEAR(actual.z, expected.z, 1e-9);
}

// The next numbers that `rand` would give, without taking them from it in this process.
std::string NextRandomNumbers() {
  return OutputOf([] {
    for (int i = 0; i < 4; ++i) std::printf("%d ", std::rand());
  });
}

class SolvateTest : public testing::Test {
 protected:
  void SetUp() override {
    LoadTemplate("tip3", Solvate::water_PDB, Solvate::water_coords);
    LoadTemplate("sod", Solvate::na_PDB, Solvate::na_coords);
    LoadTemplate("cla", Solvate::cl_PDB, Solvate::cl_coords);
    std::srand(1);  // As in a program that has not called it.
  }

  // Adds ions to an empty place and returns what was added.
  static Solvate::IonResult Ions(PDB& molecule, double edge, int target, double strength,
                                 bool droplet = false) {
    Solvate::IonResult result;
    Solvate::AddIons(edge, edge, edge, Vec3D(), target, strength, droplet, molecule, result);
    return result;
  }

  static int Water(PDB& molecule, double a, double b, double c, bool droplet = false) {
    return Solvate::AddWaterBox(a, b, c, Vec3D(), molecule, droplet);
  }
};

// Plain versions.

bool PlainDetectCollision(const Points& first, const Points& second) {
  for (const Vec3D& a : first) {
    for (const Vec3D& b : second) {
      const double x = a.x - b.x;
      const double y = a.y - b.y;
      const double z = a.z - b.z;
      if (x * x + y * y + z * z < 4.0) return true;
    }
  }
  return false;
}

bool PlainIsOutside(const Vec3D& r, double a, double b, double c) {
  return r.x * r.x / a / a + r.y * r.y / b / b + r.z * r.z / c / c > 0.25;
}

int PlainAddWaterBox(double a, double b, double c, const Vec3D& move, PDB& pdb, bool droplet) {
  Points solute;
  pdb.GetCoords(solute);
  const Vec3D center =
      ComputationalGeometry::CalcCenter(static_cast<int>(solute.size()), solute.data(), nullptr);
  const Vec3D corner = center - Vec3D(a / 2, b / 2, c / 2);
  const int nx = static_cast<int>(a / 2.9);
  const int ny = static_cast<int>(b / 2.9);
  const int nz = static_cast<int>(c / 2.9);
  int count = 0;
  for (int i = 0; i < nx; ++i) {
    for (int j = 0; j < ny; ++j) {
      for (int k = 0; k < nz; ++k) {
        const Vec3D position = corner + Vec3D(i, j, k) * 2.9;
        if (droplet && PlainIsOutside(position - center, a, b, c)) continue;
        Points candidate = Solvate::water_coords;
        const double angle1 = std::rand() * 6.283185307 / 2147483647.0;
        const double angle2 = std::rand() * 6.283185307 / 2147483647.0;
        const double angle3 = std::rand() * 6.283185307 / 2147483647.0;
        ComputationalGeometry::Rotate(angle1, angle2, angle3, position + move, 3, candidate.data());
        if (PlainDetectCollision(solute, candidate)) continue;
        ++count;
        PDB copy = Solvate::water_PDB;
        copy.SetCoords(candidate);
        pdb.MergePDB(copy, false);
      }
    }
  }
  pdb.MergePSF(Solvate::water_PDB, count);
  return count;
}

void PlainAddIons(double a, double b, double c, int target_charge, double ionic_strength,
                  bool droplet, PDB& pdb, Solvate::IonResult& result) {
  const double q = pdb.GetTopology().GetTotalCharge();
  const int qi = static_cast<int>(std::round(q));
  const int d = target_charge - qi;
  const int plus = d > 0 ? d : 0;
  const int minus = d > 0 ? 0 : qi - target_charge;
  const int excess = d > 0 ? d : minus;
  const double volume = a * b * c;
  int pairs = static_cast<int>(((ionic_strength * volume / 830.2695335869233) - excess) * 0.5);
  if (pairs < 0) pairs = 0;
  const int cations = plus + pairs;
  const int anions = minus + pairs;
  const double final_strength = (cations + anions) / volume * 830.2695335869233;
  Points all;
  pdb.GetCoords(all);
  const Vec3D center =
      ComputationalGeometry::CalcCenter(static_cast<int>(all.size()), all.data(), nullptr);
  const Vec3D corner = center - Vec3D(a / 2, b / 2, c / 2);
  const auto place = [&](const PDB& ion, int count) {
    for (int i = 0; i < count;) {
      const int first = std::rand();
      const int second = std::rand();
      const int third = std::rand();
      const Vec3D position = corner + Vec3D(third * a / 2147483647.0, second * b / 2147483647.0,
                                            first * c / 2147483647.0);
      if (droplet && PlainIsOutside(position - center, a, b, c)) continue;
      PDB copy = ion;
      copy.SetCoords({position});
      pdb.MergePDB(copy, false);
      ++i;
    }
    pdb.MergePSF(ion, count);
  };
  place(Solvate::na_PDB, cations);
  place(Solvate::cl_PDB, anions);
  result = {cations, anions, final_strength};
}

// Solvates a molecule in both ways and compares everything, also the state of `rand` behind it.
struct Box {
  double a;
  double b;
  double c;
  Vec3D move;
  bool droplet = false;
  int target = 0;
  double strength = 0.3;
};

int ExpectSameAsPlain(const PDB& solute, const Box& box) {
  PDB expected = solute;
  std::srand(1);
  const int expected_count = PlainAddWaterBox(box.a, box.b, box.c, box.move, expected, box.droplet);
  Solvate::IonResult expected_ions;
  PlainAddIons(box.a, box.b, box.c, box.target, box.strength, box.droplet, expected, expected_ions);
  const std::string expected_random = NextRandomNumbers();

  PDB actual = solute;
  std::srand(1);
  EXPECT_EQ(Solvate::AddWaterBox(box.a, box.b, box.c, box.move, actual, box.droplet),
            expected_count);
  Solvate::IonResult ions;
  Solvate::AddIons(box.a, box.b, box.c, box.move, box.target, box.strength, box.droplet, actual,
                   ions);
  EXPECT_EQ(NextRandomNumbers(), expected_random);
  EXPECT_EQ(ions.cations, expected_ions.cations);
  EXPECT_EQ(ions.anions, expected_ions.anions);
  EXPECT_EQ(ions.ionic_strength, expected_ions.ionic_strength);
  EXPECT_TRUE(Describe(actual) == Describe(expected))
      << box.a << " x " << box.b << " x " << box.c << (box.droplet ? " droplet" : "");
  return expected_count;
}

Points RandomPlaces(int count, double extent, std::mt19937_64& random) {
  std::uniform_real_distribution<double> place(-extent, extent);
  Points places;
  for (int i = 0; i < count; ++i) {
    const double x = place(random);
    const double y = place(random);
    const double z = place(random);
    places.emplace_back(x, y, z);
  }
  return places;
}

TEST_F(SolvateTest, GivesWhatThePlainWaysGive) {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> edge(1.0, 28.0);
  std::uniform_real_distribution<double> shift(-6.0, 6.0);
  int waters = 0;
  for (int round = 0; round < 60; ++round) {
    Box box{edge(random), edge(random), edge(random), Vec3D()};
    box.droplet = round % 2 == 1;
    if (round % 3 == 2) box.move = Vec3D(shift(random), shift(random), shift(random));
    box.target = static_cast<int>(random() % 9) - 4;
    const int atoms = 1 + static_cast<int>(random() % 200);
    const double charge = static_cast<double>(random() % 7) - 3.0;
    waters += ExpectSameAsPlain(SoluteOf(RandomPlaces(atoms, edge(random), random), charge), box);
  }
  EXPECT_GT(waters, 3000);
}

TEST_F(SolvateTest, GivesWhatThePlainWaysGiveWhereNumbersAreOdd) {
  const std::vector<Points> solutes = {
      {},
      {Vec3D()},
      {Vec3D(kNaN, 0, 0)},
      {Vec3D(0, kInfinity, 0), Vec3D()},
      {Vec3D(kInfinity, 0, 0), Vec3D(-kInfinity, 1, 2)},
      {Vec3D(1e17, 0, 0)},
      {Vec3D(1e17, -1e17, 1e16), Vec3D(1e17, -1e17, 1e16)},
      {Vec3D(1e300, 0, 0), Vec3D(-1e300, 5, 0)},
      {Vec3D(1.7e308, 0, 0), Vec3D(1.7e308, 0, 0)},
  };
  for (const Points& places : solutes) {
    for (const bool droplet : {false, true}) {
      for (const Vec3D& move : {Vec3D(), Vec3D(kInfinity, 0, 0), Vec3D(0, kNaN, 0)}) {
        ExpectSameAsPlain(SoluteOf(places, 2.0), {12.0, 9.0, 15.5, move, droplet, -1, 3.0});
      }
    }
  }
}

TEST_F(SolvateTest, GivesWhatThePlainWaysGiveInThinDroplets) {
  for (const double thin : {2.9, 3.0, 5.7, 5.8, 5.9, 8.7, 11.6}) {
    for (const double long_one : {5.8, 8.0, 116.0, 301.0}) {
      ExpectSameAsPlain(EmptyPlace(), {thin, thin, long_one, Vec3D(), true});
      ExpectSameAsPlain(EmptyPlace(), {long_one, thin, thin, Vec3D(), true});
      ExpectSameAsPlain(EmptyPlace(), {thin, long_one, 2 * thin, Vec3D(), true});
    }
  }
}

TEST_F(SolvateTest, FindsCollisionsBelowTwoAngstrom) {
  const Points one = {Vec3D()};
  EXPECT_FALSE(Solvate::DetectCollision(one, {}));
  EXPECT_FALSE(Solvate::DetectCollision({}, one));
  EXPECT_FALSE(Solvate::DetectCollision({}, {}));
  EXPECT_FALSE(Solvate::DetectCollision(one, {Vec3D(2.0, 0.0, 0.0)}));
  EXPECT_TRUE(Solvate::DetectCollision(one, {Vec3D(std::nextafter(2.0, 0.0), 0.0, 0.0)}));
  EXPECT_FALSE(Solvate::DetectCollision({Vec3D(9, 9, 9), Vec3D(kNaN, 0, 0)}, one));
  EXPECT_TRUE(Solvate::DetectCollision({Vec3D(9, 9, 9), Vec3D(1, 1, 1)}, {Vec3D(5, 5, 5), one[0]}));
}

// The grid.

TEST_F(SolvateTest, ABoxNarrowerThanTheGridHoldsNoWaterButItsTermsAreMadeAnew) {
  for (const auto& [a, b, c] : {std::array{2.8, 30.0, 30.0}, std::array{30.0, 1e-300, 30.0},
                                std::array{1e300, kInfinity, 2.89999}}) {
    for (const bool droplet : {false, true}) {
      PDB molecule = SoluteOf({Vec3D(), Vec3D(1, 0, 0), Vec3D(2, 0, 0)});
      EXPECT_EQ(Solvate::AddWaterBox(a, b, c, Vec3D(), molecule, droplet), 0);
      EXPECT_EQ(molecule.numAtoms, 3);
      EXPECT_EQ(molecule.atoms.size(), 3u);
      EXPECT_EQ(molecule.GetTopology().GetAngles().flat(), (Indices{0, 1, 2}));
    }
  }
}

TEST_F(SolvateTest, TermsOfAFileAreMadeAnewAlsoWhereNothingIsAdded) {
  const TemporaryFolder folder;
  // Two bonds without their angle.
  const std::string psf = folder.Write("s.psf",
                                       "PSF EXT\n\n 0\n\n 3\n 1 A 7 LIG C CT 0.0 12.0 0\n"
                                       " 2 A 7 LIG C CT 0.0 12.0 0\n 3 A 7 LIG C CT 0.0 12.0 0\n"
                                       "\n 2\n 1 2 2 3\n\n 0\n\n 0\n\n 0\n\n 0\n\n");
  const auto molecule_of_file = [&] {
    PDB molecule = SoluteOf({Vec3D(), Vec3D(1, 0, 0), Vec3D(2, 0, 0)});
    molecule.LoadPSFFile(psf);
    return molecule;
  };
  PDB without_water = molecule_of_file();
  ASSERT_TRUE(without_water.GetTopology().GetAngles().empty());
  EXPECT_EQ(Water(without_water, 2.0, 9.0, 9.0), 0);
  EXPECT_EQ(without_water.GetTopology().GetAngles().flat(), (Indices{0, 1, 2}));
  PDB without_ions = molecule_of_file();
  EXPECT_EQ(Ions(without_ions, 20.0, 0, 0.0).cations, 0);
  EXPECT_EQ(without_ions.GetTopology().GetAngles().flat(), (Indices{0, 1, 2}));
}

TEST_F(SolvateTest, TheFirstLayerLiesOnTheCorner) {
  PDB molecule = EmptyPlace();
  EXPECT_EQ(Water(molecule, 2.9, 2.9, 2.9), 1);
  ExpectNear(WaterCenters(2, molecule).at(0), Vec3D(-1.45, -1.45, -1.45));
}

TEST_F(SolvateTest, TwiceTheStepGivesTwoLayersInTheOrderOfTheGrid) {
  PDB molecule = EmptyPlace();
  EXPECT_EQ(Water(molecule, 5.8, 2.9, 7.5), 4);
  const Points centers = WaterCenters(2, molecule);
  const Vec3D corner(-2.9, -1.45, -3.75);
  ExpectNear(centers.at(0), corner);
  ExpectNear(centers.at(1), corner + Vec3D(0, 0, 2.9));
  ExpectNear(centers.at(2), corner + Vec3D(2.9, 0, 0));
  ExpectNear(centers.at(3), corner + Vec3D(2.9, 0, 2.9));
}

TEST_F(SolvateTest, NoPlaceLiesBeyondTheFarFaceOfTheBox) {
  // Also where an edge is a multiple of the step, or would be if numbers were exact.
  for (int steps = 1; steps <= 40; ++steps) {
    for (const double edge : {steps * 2.9, std::nextafter(steps * 2.9, 0.0), steps * 2.9 + 1.0}) {
      std::srand(1);
      PDB molecule = EmptyPlace();
      const int count = Water(molecule, 2.9, 2.9, edge);
      EXPECT_EQ(count, static_cast<int>(edge / 2.9)) << edge;
      if (count == 0) continue;
      const double last = WaterCenters(2, molecule).back().z;
      EXPECT_NEAR(last, -edge / 2 + 2.9 * (count - 1), 1e-9) << edge;
      EXPECT_LT(last, edge / 2) << edge;
    }
  }
}

TEST_F(SolvateTest, APlaceExactlyOnTheSurfaceOfADropletIsKept) {
  PDB molecule = EmptyPlace();
  // At x = -4 of an axis of 8, and at x = -1.1, both in the middle of the other axes.
  EXPECT_EQ(Water(molecule, 8.0, 5.8, 5.8, /*droplet=*/true), 2);
  const Points centers = WaterCenters(2, molecule);
  ExpectNear(centers.at(0), Vec3D(-4.0, 0.0, 0.0));
  ExpectNear(centers.at(1), Vec3D(-1.1, 0.0, 0.0));
  // Two terms too small to show are lost one after the other, and would not be lost together.
  PDB sum = EmptyPlace();
  EXPECT_EQ(Water(sum, 8.0, 5.80000005, 5.80000005, /*droplet=*/true), 2);
}

TEST_F(SolvateTest, OnlyPlacesOutsideADropletCostNoRandomNumbers) {
  const auto numbers_behind = [](int drawn) {
    std::srand(1);
    for (int i = 0; i < drawn; ++i) std::rand();
    return NextRandomNumbers();
  };
  const std::string behind_two_waters = numbers_behind(6);
  const std::string behind_eight_waters = numbers_behind(24);

  std::srand(1);
  PDB droplet = EmptyPlace();
  ASSERT_EQ(Water(droplet, 8.0, 5.8, 5.8, /*droplet=*/true), 2);
  EXPECT_EQ(NextRandomNumbers(), behind_two_waters);

  // Atoms on the corner of the box, with the centre at the origin, drop one of eight waters.
  std::srand(1);
  PDB box = SoluteOf({Vec3D(-4.0, -2.9, -2.9), Vec3D(1004.0, 2.9, 2.9), Vec3D(-1000.0, 0, 0)});
  ASSERT_EQ(Water(box, 8.0, 5.8, 5.8), 7);
  EXPECT_EQ(NextRandomNumbers(), behind_eight_waters);
}

TEST_F(SolvateTest, WatersAreTestedAgainstTheMoleculeOnly) {
  // On a grid of less than three Angstrom, hydrogens of neighbours come closer than two.
  PDB molecule = EmptyPlace();
  EXPECT_EQ(Water(molecule, 30.0, 30.0, 30.0), 1000);
  const Points all = AddedBehind(2, molecule);
  bool any = false;
  for (auto water = all.begin(); water + 3 != all.end(); water += 3) {
    any = any || Solvate::DetectCollision({water, water + 3}, {water + 3, water + 6});
  }
  EXPECT_TRUE(any);
}

TEST_F(SolvateTest, NoWaterComesCloserThanTwoAngstromToTheMolecule) {
  std::mt19937_64 random(5);
  const Points places = RandomPlaces(300, 10.0, random);
  PDB molecule = SoluteOf(places);
  ASSERT_GT(Water(molecule, 30.0, 30.0, 30.0), 300);
  EXPECT_FALSE(PlainDetectCollision(places, AddedBehind(places.size(), molecule)));
}

TEST_F(SolvateTest, AMoveShiftsTheWaterAndNeitherMoleculeNorEllipsoid) {
  PDB still = EmptyPlace();
  const int count = Water(still, 14.0, 15.0, 16.0, /*droplet=*/true);
  std::srand(1);
  PDB moved = EmptyPlace();
  EXPECT_EQ(Solvate::AddWaterBox(14.0, 15.0, 16.0, Vec3D(50, -3, 2), moved, true), count);
  const Points from = WaterCenters(2, still);
  const Points to = WaterCenters(2, moved);
  ASSERT_EQ(from.size(), to.size());
  for (std::size_t i = 0; i < from.size(); ++i) ExpectNear(to[i], from[i] + Vec3D(50, -3, 2));
  EXPECT_EQ(moved.atoms[0].Coord.x, 1000.0);
  EXPECT_EQ(moved.atoms[1].Coord.x, -1000.0);
}

TEST_F(SolvateTest, WaterKeepsItsShape) {
  PDB molecule = EmptyPlace();
  Water(molecule, 20.0, 20.0, 20.0);
  const Points coords = AddedBehind(2, molecule);
  const Points& shape = Solvate::water_coords;
  for (std::size_t i = 0; i < coords.size(); i += 3) {
    for (const auto& [one, other] : {std::pair{0, 1}, std::pair{0, 2}, std::pair{1, 2}}) {
      ASSERT_NEAR(ComputationalGeometry::CalcLength(coords[i + one], coords[i + other]),
                  ComputationalGeometry::CalcLength(shape[one], shape[other]), 1e-9);
    }
  }
}

TEST_F(SolvateTest, AnEmptyMoleculeIsSurroundedByWaterThatLiesNowhere) {
  PDB molecule = SoluteOf({});
  EXPECT_EQ(Water(molecule, 6.0, 6.0, 6.0, /*droplet=*/true), 8);
  for (const PDB::Atom& atom : molecule.atoms) EXPECT_TRUE(std::isnan(atom.Coord.x));
  Ions(molecule, 6.0, 1, 0.0, /*droplet=*/true);
  EXPECT_EQ(molecule.numAtoms, 25);
  EXPECT_TRUE(std::isnan(molecule.atoms.back().Coord.z));
}

// Numbers, names and terms of what is added.

TEST_F(SolvateTest, EachKindIsNumberedFromOneAndAgainBehind9999) {
  PDB molecule = EmptyPlace(-3.0);
  ASSERT_EQ(Water(molecule, 64.0, 64.0, 64.0), 22 * 22 * 22);
  const Solvate::IonResult ions = Ions(molecule, 64.0, 0, 0.1);
  ASSERT_GT(ions.anions, 10);
  ASSERT_EQ(ions.cations, ions.anions + 3);
  const auto& in_topology = molecule.GetTopology().GetAtoms();
  ASSERT_EQ(in_topology.size(), molecule.atoms.size());
  std::size_t at = 0;
  const auto expect_kind = [&](const PDB& unit, int count) {
    for (int c = 0; c < count; ++c) {
      for (std::size_t i = 0; i < unit.atoms.size(); ++i, ++at) {
        ASSERT_EQ(molecule.atoms[at].ResSeq, c % 9999 + 1);
        ASSERT_EQ(molecule.atoms[at].Name, unit.atoms[i].Name);
        ASSERT_EQ(molecule.atoms[at].ResName, unit.atoms[i].ResName);
        ASSERT_EQ(molecule.atoms[at].ChainID, unit.atoms[i].ChainID);
        ASSERT_EQ(in_topology[at].residue_sn, c % 9999 + 1);
        ASSERT_EQ(in_topology[at].name, unit.atoms[i].Name);
        ASSERT_EQ(in_topology[at].segment, unit.atoms[i].ChainID);
      }
    }
  };
  EXPECT_EQ(molecule.atoms[0].ResSeq, 7);
  at = 2;
  expect_kind(Solvate::water_PDB, 22 * 22 * 22);
  expect_kind(Solvate::na_PDB, ions.cations);
  expect_kind(Solvate::cl_PDB, ions.anions);
  EXPECT_EQ(at, molecule.atoms.size());
  EXPECT_EQ(molecule.numAtoms, static_cast<int>(at));
}

TEST_F(SolvateTest, TheResidueTablesAreLeftAsTheyAre) {
  PDB molecule = EmptyPlace(1.0);
  Water(molecule, 6.0, 6.0, 6.0);
  Ions(molecule, 6.0, 0, 0.0);
  EXPECT_EQ(molecule.numResidues, 1);
  EXPECT_EQ(molecule.atomNames.size(), 2u);
  EXPECT_EQ(molecule.residueLastAtoms, Indices{1});
  molecule.Analyze();
  EXPECT_EQ(molecule.numResidues, 1 + 8 + 1);
}

TEST_F(SolvateTest, TheTemplatesAreLeftAsTheyAre) {
  const auto describe = [] {
    std::string all;
    for (const PDB* unit : {&Solvate::water_PDB, &Solvate::na_PDB, &Solvate::cl_PDB}) {
      all += Describe(*unit);
    }
    return all;
  };
  const std::string before = describe();
  const Points coords = Solvate::water_coords;
  PDB molecule = EmptyPlace(1.0);
  ASSERT_GT(Water(molecule, 9.0, 9.0, 9.0), 0);
  Ions(molecule, 20.0, 0, 1.0);
  EXPECT_TRUE(describe() == before);
  ASSERT_EQ(Solvate::water_coords.size(), coords.size());
  for (std::size_t i = 0; i < coords.size(); ++i) {
    EXPECT_EQ(Solvate::water_coords[i].x, coords[i].x);
    EXPECT_EQ(Solvate::water_coords[i].y, coords[i].y);
    EXPECT_EQ(Solvate::water_coords[i].z, coords[i].z);
  }
}

TEST_F(SolvateTest, TheTermsOfWaterFollowThoseOfTheMolecule) {
  PDB molecule = SoluteOf({Vec3D(1000, 0, 0), Vec3D(-1000, 0, 0), Vec3D(0, 1000, 0)});
  ASSERT_EQ(Water(molecule, 2.9, 2.9, 5.8), 2);
  const MolecularMechanicsTopology& topology = molecule.GetTopology();
  EXPECT_EQ(topology.GetBonds().flat(), (Indices{0, 1, 1, 2, 3, 4, 3, 5, 4, 5, 6, 7, 6, 8, 7, 8}));
  EXPECT_EQ(topology.GetAngles().flat(),
            (Indices{0, 1, 2, 4, 3, 5, 3, 4, 5, 3, 5, 4, 7, 6, 8, 6, 7, 8, 6, 8, 7}));
  EXPECT_TRUE(topology.GetDihedrals().empty());
}

// Ions.

TEST_F(SolvateTest, ATargetThatIsTheChargeGivesPairsOnly) {
  PDB molecule = EmptyPlace(3.0);
  const Solvate::IonResult ions = Ions(molecule, 20.0, 3, 1.0);  // 9.6 ions
  EXPECT_EQ(ions.cations, 4);
  EXPECT_EQ(ions.anions, 4);
  EXPECT_DOUBLE_EQ(ions.ionic_strength, 8 / 8000.0 * 830.2695335869233);
}

TEST_F(SolvateTest, PairsAreCutOffAsTheNumbersComeOut) {
  // Ionic strengths of whole numbers of pairs, some of which are less as computed.
  int fewer = 0;
  for (int n = 1; n <= 40; ++n) {
    PDB molecule = EmptyPlace();
    const double strength = 2 * n * 830.2695335869233 / 8000.0;
    const int pairs = static_cast<int>((strength * 8000.0 / 830.2695335869233 - 0) * 0.5);
    EXPECT_EQ(Ions(molecule, 20.0, 0, strength).cations, pairs) << n;
    if (pairs < n) ++fewer;
  }
  EXPECT_GT(fewer, 0);
  EXPECT_LT(fewer, 40);
}

TEST_F(SolvateTest, IonsThatNeutraliseCountTowardsTheIonicStrength) {
  PDB negative = EmptyPlace(-3.0);
  const Solvate::IonResult ions = Ions(negative, 20.0, 0, 1.0);
  EXPECT_EQ(ions.cations, 3 + 3);
  EXPECT_EQ(ions.anions, 3);
  EXPECT_EQ(negative.GetTopology().GetTotalCharge(), 0.0);
}

TEST_F(SolvateTest, NothingIsAddedToANeutralMoleculeWithoutIonicStrength) {
  PDB molecule = EmptyPlace();
  const Solvate::IonResult ions = Ions(molecule, 20.0, 0, 0.0);
  EXPECT_EQ(ions.cations, 0);
  EXPECT_EQ(ions.anions, 0);
  EXPECT_EQ(ions.ionic_strength, 0.0);
  EXPECT_EQ(molecule.numAtoms, 2);
}

TEST_F(SolvateTest, TheTargetChargeIsMetAlsoWhereThisTakesMoreIonsThanTheIonicStrength) {
  PDB molecule = EmptyPlace(2.0);
  const Solvate::IonResult ions = Ions(molecule, 20.0, -3, 0.1);
  EXPECT_EQ(ions.cations, 0);
  EXPECT_EQ(ions.anions, 5);
  EXPECT_GT(ions.ionic_strength, 0.1);
  EXPECT_EQ(molecule.GetTopology().GetTotalCharge(), -3.0);
}

TEST_F(SolvateTest, ADropletsIonsAreCountedByTheVolumeOfItsBox) {
  PDB box = EmptyPlace();
  PDB droplet = EmptyPlace();
  const Solvate::IonResult in_box = Ions(box, 40.0, 0, 0.5);
  const Solvate::IonResult in_droplet = Ions(droplet, 40.0, 0, 0.5, /*droplet=*/true);
  EXPECT_EQ(in_droplet.cations, in_box.cations);
  EXPECT_EQ(in_droplet.ionic_strength, in_box.ionic_strength);
  EXPECT_LE(in_droplet.ionic_strength, 0.5);
  ASSERT_GT(in_droplet.cations, 10);
  bool any_outside = false;
  for (const Vec3D& place : AddedBehind(2, box)) {
    any_outside = any_outside || PlainIsOutside(place, 40.0, 40.0, 40.0);
  }
  EXPECT_TRUE(any_outside);
  for (const Vec3D& place : AddedBehind(2, droplet)) {
    EXPECT_FALSE(PlainIsOutside(place, 40.0, 40.0, 40.0));
  }
}

TEST_F(SolvateTest, IonsAreSpreadAroundTheCentreOfEverythingAndNotMoved) {
  PDB molecule = SoluteOf({Vec3D(500, 500, 500)}, 1.0);
  const Vec3D move(90.0, 0.0, 0.0);
  const int waters = Solvate::AddWaterBox(12.0, 12.0, 12.0, move, molecule, false);
  ASSERT_GT(waters, 0);
  Points all;
  molecule.GetCoords(all);
  const Vec3D center =
      ComputationalGeometry::CalcCenter(static_cast<int>(all.size()), all.data(), nullptr);
  std::srand(1);
  const int z = std::rand();
  const int y = std::rand();
  const int x = std::rand();
  std::srand(1);
  Solvate::IonResult ions;
  Solvate::AddIons(12.0, 13.0, 14.0, move, 0, 0.0, false, molecule, ions);
  ASSERT_EQ(ions.anions, 1);
  const Vec3D corner = center - Vec3D(6.0, 6.5, 7.0);
  const Vec3D& place = molecule.atoms.back().Coord;
  EXPECT_EQ(place.x, corner.x + x * 12.0 / 2147483647.0);
  EXPECT_EQ(place.y, corner.y + y * 13.0 / 2147483647.0);
  EXPECT_EQ(place.z, corner.z + z * 14.0 / 2147483647.0);
}

TEST_F(SolvateTest, AChargeThatIsNoWholeNumberEndsTheRun) {
  const auto message = [](double charge) {
    return MessageOf([&] {
      PDB molecule = EmptyPlace(charge);
      Ions(molecule, 20.0, 0, 0.0);
    });
  };
  EXPECT_EQ(message(0.5),
            "Error occurs: The total charge is not an integer: 0.50000 (delta = 5.00000E-01)\n");
  EXPECT_EQ(message(-1.25),
            "Error occurs: The total charge is not an integer: -1.25000 (delta = 2.50000E-01)\n");
  EXPECT_EQ(message(2.00002),
            "Error occurs: The total charge is not an integer: 2.00002 (delta = 2.00000E-05)\n");
  EXPECT_TRUE(message(kInfinity).starts_with(
      "Error occurs: The total charge is not an integer: inf (delta = "));
  EXPECT_TRUE(message(-kInfinity)
                  .starts_with("Error occurs: The total charge is not an integer: -inf (delta = "));
  EXPECT_NE(message(kNaN).find("The total charge is not an integer: "), std::string::npos);
  EXPECT_EQ(message(3e9), "Error occurs: The total charge is too large: 3000000000.00000.");
  EXPECT_EQ(message(-1e300).substr(0, 44), "Error occurs: The total charge is too large:");
}

TEST_F(SolvateTest, AChargeNearAWholeNumberIsTakenForIt) {
  PDB molecule = EmptyPlace(-1.999991);
  EXPECT_EQ(Ions(molecule, 20.0, 0, 0.0).cations, 2);
  // As far from it as is allowed, and a little further.
  PDB at_limit = EmptyPlace(1e-5);
  EXPECT_EQ(Ions(at_limit, 20.0, 0, 0.0).cations, 0);
  EXPECT_EQ(MessageOf([] {
              PDB beyond = EmptyPlace(std::nextafter(1e-5, 1.0));
              Ions(beyond, 20.0, 0, 0.0);
            }),
            "Error occurs: The total charge is not an integer: 0.00001 (delta = 1.00000E-05)\n");
}

// What cannot be done.

TEST_F(SolvateTest, ABoxThatIsTooLargeEndsTheRunAtOnce) {
  const std::string too_large = "Error occurs: The box is too large: there would be more than ";
  const auto message = [](double a, double b, double c, bool droplet, std::size_t solute = 2) {
    return MessageOf([&] {
      PDB molecule = solute == 2 ? EmptyPlace() : SoluteOf(Points(solute));
      Water(molecule, a, b, c, droplet);
    });
  };
  for (const bool droplet : {false, true}) {
    for (const double edge : {1e5, 1e9, 1e12, 1e100, 1e308, kInfinity}) {
      EXPECT_TRUE(message(edge, edge, edge, droplet).starts_with(too_large)) << edge;
      EXPECT_TRUE(message(edge, 3e5, 3e5, droplet).starts_with(too_large)) << edge;
      EXPECT_TRUE(message(1e3, 1e6, edge, droplet, 1000).starts_with(too_large)) << edge;
    }
    // Without a centre, all of them are in the droplet.
    EXPECT_TRUE(message(1e5, 1e5, 1e5, droplet, 0).starts_with(too_large));
  }
  EXPECT_TRUE(message(1e11, 2.9, 2.9, false).starts_with(too_large));
}

TEST_F(SolvateTest, ADropletThatIsLargeAndNearlyEmptyIsNoWork) {
  // A layer of 10^17 places on the outermost face, of which only those in the middle are inside, as
  // computed: there the terms of the other two axes are lost beside the third.
  PDB molecule = EmptyPlace();
  EXPECT_LT(Water(molecule, 1e9, 1e9, 3.0, /*droplet=*/true), 20);
  EXPECT_LT(Water(molecule, 3.0, 1e9, 1e9, /*droplet=*/true), 20);
  EXPECT_EQ(Water(molecule, 1e9, 3.0, 3.0, /*droplet=*/true), 0);
}

TEST_F(SolvateTest, TooManyIonsEndTheRunAtOnce) {
  const std::string too_many = "Error occurs: The ions are too many: there would be more than ";
  const auto message = [](double charge, double edge, int target, double strength) {
    return MessageOf([&] {
      PDB molecule = EmptyPlace(charge);
      Ions(molecule, edge, target, strength);
    });
  };
  EXPECT_TRUE(message(0.0, 100.0, 0, 1e12).starts_with(too_many));
  EXPECT_TRUE(message(0.0, 100.0, 0, kInfinity).starts_with(too_many));
  EXPECT_TRUE(message(0.0, 1e200, 0, 1.0).starts_with(too_many));
  EXPECT_TRUE(message(0.0, kInfinity, 0, 1.0).starts_with(too_many));
  EXPECT_TRUE(message(-5.0, 100.0, 2147483647, 0.0).starts_with(too_many));
  EXPECT_TRUE(message(2147483647.0, 100.0, -2147483647 - 1, 0.0).starts_with(too_many));
}

TEST_F(SolvateTest, VolumesWithoutASizeAreDefined) {
  PDB vanishing = EmptyPlace(1.0);
  Solvate::IonResult ions = Ions(vanishing, 1e-200, 0, 5.0);
  EXPECT_EQ(ions.anions, 1);
  EXPECT_EQ(ions.cations, 0);
  EXPECT_TRUE(std::isinf(ions.ionic_strength));
  PDB neutral = EmptyPlace();
  EXPECT_TRUE(std::isnan(Ions(neutral, 1e-200, 0, 5.0).ionic_strength));
  PDB endless = EmptyPlace(-2.0);
  ions = Ions(endless, kInfinity, 0, 0.0);
  EXPECT_EQ(ions.cations, 2);
  EXPECT_EQ(ions.ionic_strength, 0.0);
  EXPECT_TRUE(std::isnan(endless.atoms.back().Coord.x));
}

TEST_F(SolvateTest, AnIonFindsItsPlaceInEveryDropletThatHasOne) {
  const double kSmallest = std::numeric_limits<double>::denorm_min();
  // Centres at which numbers are coarse, and axes that are lost beside them or whose squares
  // vanish.
  for (const double center : {0.0, 1.0, -3.7, 1e17, -1e17, 4503599627370496.0, 1e300, 1.7e308}) {
    for (const double edge : {kSmallest, 1e-320, 1e-200, 1e-160, 1e-9, 0.3, 1.0, 14.0, 17.0, 1e150,
                              1e154, 1e158, kInfinity}) {
      PDB molecule = SoluteOf({Vec3D(center, -center, center)}, 1.0);
      const Solvate::IonResult ions = Ions(molecule, edge, 0, 0.0, /*droplet=*/true);
      EXPECT_EQ(ions.anions, 1) << center << " " << edge;
      EXPECT_EQ(molecule.numAtoms, 2);
      if (std::isinf(edge)) continue;
      const Vec3D offset = molecule.atoms.back().Coord - molecule.atoms.front().Coord;
      EXPECT_FALSE(PlainIsOutside(offset, edge, edge, edge)) << center << " " << edge;
      if (edge == 1e154) break;  // Larger ones only with luck in all three coordinates.
    }
  }
  PDB molecule = EmptyPlace(1.0);
  Solvate::IonResult ions;
  Solvate::AddIons(1e158, 5.0, 5.0, Vec3D(), 0, 0.0, true, molecule, ions);
  EXPECT_EQ(molecule.numAtoms, 3);
}

TEST_F(SolvateTest, ADropletInWhichNoPlaceIsEverFoundEndsTheRun) {
  const auto message = [](double a, double b, double c, int target) {
    return MessageOf([&] {
      PDB molecule = EmptyPlace();
      Solvate::IonResult ions;
      Solvate::AddIons(a, b, c, Vec3D(), target, 0.0, true, molecule, ions);
    });
  };
  EXPECT_EQ(
      message(1e300, 1.0, 2.5, 1),
      "Error occurs: A droplet of 1e+300 x 1 x 2.5 Angstrom^3 is too large to find places for "
      "ions in it.");
  EXPECT_EQ(message(3.0, 1e165, 1.0, -1),
            "Error occurs: A droplet of 3 x 1e+165 x 1 Angstrom^3 is too large to find places for "
            "ions in it.");
  // Each alone would be found after a while.
  EXPECT_TRUE(message(1e159, 1e159, 1e159, 1).starts_with("Error occurs: A droplet of "));
  // Nothing is sought.
  EXPECT_EQ(message(1e300, 1.0, 2.5, 0).find("Error occurs"), std::string::npos);
}

TEST_F(SolvateTest, AWaterTemplateOfAnotherNumberOfAtomsEndsTheRun) {
  const auto message = [](std::size_t atoms) {
    return MessageOf([&] {
      Solvate::water_PDB.filename = "w.pdb";
      Solvate::water_PDB.atoms.resize(atoms);
      Solvate::water_PDB.Analyze();
      Solvate::water_PDB.GetCoords(Solvate::water_coords);
      PDB molecule = EmptyPlace();
      Water(molecule, 9.0, 9.0, 9.0);
    });
  };
  for (const std::size_t atoms : {0u, 1u, 2u, 4u, 1000u}) {
    EXPECT_EQ(
        message(atoms),
        "Error occurs: The template \"w.pdb\" should hold a water molecule of 3 atoms, but it "
        "has " +
            std::to_string(atoms) + ".");
  }
  // Where no water has room, nobody looks at it.
  Solvate::water_PDB = PDB();
  PDB molecule = EmptyPlace();
  EXPECT_EQ(Water(molecule, 1.0, 9.0, 9.0), 0);
}

TEST_F(SolvateTest, AnIonTemplateOfAnotherNumberOfAtomsEndsTheRunWhenOneIsPlaced) {
  Solvate::na_PDB = Solvate::water_PDB;
  Solvate::cl_PDB = PDB();
  PDB molecule = EmptyPlace();
  Ions(molecule, 20.0, 0, 0.0);
  EXPECT_EQ(molecule.numAtoms, 2);
  EXPECT_EQ(MessageOf([&] { Ions(molecule, 20.0, 1, 0.0); }),
            "Error occurs: Number of coordinates (1) does not match number of atoms (3).");
  EXPECT_EQ(MessageOf([&] { Ions(molecule, 20.0, -1, 0.0); }),
            "Error occurs: Number of coordinates (1) does not match number of atoms (0).");
}

TEST_F(SolvateTest, ATemplateWithTheTopologyOfAnotherMoleculeEndsTheRun) {
  Solvate::na_PDB.topology = Solvate::water_PDB.topology;
  Solvate::na_PDB.filename = "na.pdb";
  Solvate::water_PDB.topology = Solvate::cl_PDB.topology;
  Solvate::water_PDB.filename = "w.pdb";
  PDB molecule = EmptyPlace();
  EXPECT_EQ(MessageOf([&] { Ions(molecule, 20.0, 1, 0.0); }),
            "Error occurs: The template \"na.pdb\" has 1 atoms, but its topology has 3.");
  EXPECT_EQ(MessageOf([&] { Water(molecule, 9.0, 9.0, 9.0); }),
            "Error occurs: The template \"w.pdb\" has 3 atoms, but its topology has 1.");
}

// The templates that the project ships.

TEST_F(SolvateTest, InitializeReadsTheTemplatesAndReplacesTheCoordinates) {
  LinkDataFolder();
  Solvate::water_PDB = Solvate::na_PDB = Solvate::cl_PDB = PDB();
  Solvate::na_coords.clear();
  Solvate::cl_coords = {Vec3D(7, 7, 7)};
  Solvate::Initialize();
  const auto expect_template = [](const PDB& unit, const Points& coords, std::size_t atoms,
                                  double charge) {
    ASSERT_EQ(unit.atoms.size(), atoms);
    EXPECT_EQ(unit.GetTopology().GetTotalCharge(), charge);
    ASSERT_EQ(coords.size(), atoms);
    for (std::size_t i = 0; i < atoms; ++i) ExpectNear(coords[i], unit.atoms[i].Coord);
  };
  expect_template(Solvate::water_PDB, Solvate::water_coords, 3, 0.0);
  expect_template(Solvate::na_PDB, Solvate::na_coords, 1, 1.0);
  expect_template(Solvate::cl_PDB, Solvate::cl_coords, 1, -1.0);
}

TEST_F(SolvateTest, TheTemplatesHaveTheFiguresOfTheForceField) {
  const Points& water = Solvate::water_coords;
  ASSERT_EQ(water.size(), 3u);
  EXPECT_NEAR(ComputationalGeometry::CalcLength(water[0], water[1]), 0.9572, 1e-5);
  EXPECT_NEAR(ComputationalGeometry::CalcLength(water[0], water[2]), 0.9572, 1e-5);
  EXPECT_NEAR(ComputationalGeometry::CalcAngle(water[1], water[0], water[2]) * 180.0 / M_PI, 104.52,
              1e-3);
  const MolecularMechanicsTopology& topology = Solvate::water_PDB.GetTopology();
  const auto& atoms = topology.GetAtoms();
  ASSERT_EQ(atoms.size(), 3u);
  EXPECT_EQ(atoms[0].type, "OT");
  EXPECT_EQ(atoms[0].charge, -0.834);
  EXPECT_NEAR(atoms[0].mass, 15.9994, 1e-9);
  for (const int i : {1, 2}) {
    EXPECT_EQ(atoms[i].type, "HT");
    EXPECT_EQ(atoms[i].charge, 0.417);
    EXPECT_NEAR(atoms[i].mass, 1.008, 1e-9);
  }
  EXPECT_EQ(topology.GetTotalCharge(), 0.0);
  // With the bond that keeps it rigid.
  EXPECT_EQ(topology.GetBonds().flat(), (Indices{0, 1, 0, 2, 1, 2}));
  EXPECT_EQ(topology.GetAngles().flat(), (Indices{1, 0, 2}));

  for (const auto& [ion, type, charge, mass] : {std::tuple{&Solvate::na_PDB, "SOD", 1.0, 22.98977},
                                                std::tuple{&Solvate::cl_PDB, "CLA", -1.0, 35.45}}) {
    ASSERT_EQ(ion->atoms.size(), 1u);
    ASSERT_EQ(ion->GetTopology().GetAtoms().size(), 1u);
    EXPECT_EQ(ion->GetTopology().GetAtoms()[0].type, type);
    EXPECT_EQ(ion->GetTopology().GetAtoms()[0].charge, charge);
    EXPECT_NEAR(ion->GetTopology().GetAtoms()[0].mass, mass, 1e-9);
    EXPECT_TRUE(ion->GetTopology().GetBonds().empty());
  }
}

TEST_F(SolvateTest, TheTemplatesAreKnownForWhatTheyAreAndReadWithoutAWarning) {
  EXPECT_EQ(OutputOf([] {
              PDB unit;
              Points coords;
              for (const char* name : {"tip3", "sod", "cla"}) LoadTemplate(name, unit, coords);
            }),
            "");
  EXPECT_EQ(Solvate::water_PDB.residueTypes, std::vector{Residue::Water});
  EXPECT_EQ(Solvate::na_PDB.residueTypes, std::vector{Residue::Ion});
  EXPECT_EQ(Solvate::cl_PDB.residueTypes, std::vector{Residue::Ion});
  EXPECT_EQ(Solvate::na_PDB.atoms[0].Element, "NA");
  EXPECT_EQ(Solvate::cl_PDB.atoms[0].Element, "CL");
}

TEST_F(SolvateTest, TheTwoFilesOfATemplateAgree) {
  for (const PDB* unit : {&Solvate::water_PDB, &Solvate::na_PDB, &Solvate::cl_PDB}) {
    // Names, numbers and chains that come from the topology are those that were there.
    PDB applied = *unit;
    applied.ApplyTopology();
    EXPECT_EQ(Describe(applied), Describe(*unit));
    for (const PDB::Atom& atom : unit->atoms) {
      EXPECT_EQ(atom.ResSeq, 1);  // As one copy keeps it in the topology.
      EXPECT_EQ(atom.ChainID.size(), 1u);
    }
  }
  // A sodium and a chloride of the same number are two residues.
  EXPECT_NE(Solvate::na_PDB.atoms[0].ChainID, Solvate::cl_PDB.atoms[0].ChainID);
  EXPECT_NE(Solvate::water_PDB.atoms[0].ChainID, Solvate::na_PDB.atoms[0].ChainID);
  EXPECT_NE(Solvate::water_PDB.atoms[0].ChainID, Solvate::cl_PDB.atoms[0].ChainID);
}

}  // namespace
}  // namespace orvane
