// Times the steps of the mode "solvate" over growing boxes and growing molecules, and fits how
// their cost grows.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "CollisionGrid.h"
#include "PDB.h"
#include "Solvate.h"
#include "TopologyLibrary.h"

namespace {

using orvane::CollisionGrid;
using orvane::PDB;
using orvane::Solvate;
using orvane::TopologyLibrary;
using orvane::Vec3D;

const std::string kSource = RAVELO_SOURCE_DIR;

// So many waters fill a cube of this edge.
constexpr double kGridStep = 2.9;

void LoadTemplate(const char* name, PDB& unit, std::vector<Vec3D>& coords) {
  unit.Load(kSource + "/data/" + name + ".pdb");
  unit.LoadPSFFile(kSource + "/data/" + name + ".psf");
  unit.GetCoords(coords);
}

// The example protein, complete, with its topology.
const PDB& Protein() {
  static const PDB protein = [] {
    LoadTemplate("tip3", Solvate::water_PDB, Solvate::water_coords);
    LoadTemplate("sod", Solvate::na_PDB, Solvate::na_coords);
    LoadTemplate("cla", Solvate::cl_PDB, Solvate::cl_coords);
    TopologyLibrary library;
    library.Build(kSource + "/data/top_all36_prot.rtf");
    PDB result;
    result.LoadPDBFile(kSource + "/examples/1ubq.pdb");
    result.Regularize();
    result.Analyze();
    result.AddMissingHydrogens(library);
    result.BuildTopology(library);
    return result;
  }();
  return protein;
}

// Copies of the protein side by side on a cubic grid, without topology.
PDB Block(int edge) {
  PDB block;
  for (int i = 0; i < edge * edge * edge; ++i) {
    for (PDB::Atom atom : Protein().atoms) {
      atom.Coord = atom.Coord + Vec3D(i % edge, i / edge % edge, i / edge / edge) * 42.0;
      block.atoms.push_back(atom);
    }
  }
  block.Analyze();
  return block;
}

PDB Solvated(double edge) {
  PDB molecule = Protein();
  std::srand(1);
  Solvate::AddWaterBox(edge, edge, edge, Vec3D(), molecule, false);
  return molecule;
}

double EdgeFor(const benchmark::State& state) {
  return std::cbrt(static_cast<double>(state.range(0))) * kGridStep;
}

void SetComplexity(int atoms, benchmark::State& state) {
  state.SetComplexityN(atoms);
  state.counters["atoms"] = atoms;
}

void AddWaterToProtein(benchmark::State& state) {
  const PDB& protein = Protein();
  const double edge = EdgeFor(state);
  PDB molecule;
  for (auto _ : state) {
    state.PauseTiming();
    molecule = protein;
    state.ResumeTiming();
    Solvate::AddWaterBox(edge, edge, edge, Vec3D(), molecule, false);
  }
  SetComplexity(molecule.numAtoms, state);
}

void AddDropletToProtein(benchmark::State& state) {
  const PDB& protein = Protein();
  const double edge = EdgeFor(state);
  PDB molecule;
  for (auto _ : state) {
    state.PauseTiming();
    molecule = protein;
    state.ResumeTiming();
    Solvate::AddWaterBox(edge, edge, edge, Vec3D(), molecule, true);
  }
  SetComplexity(molecule.numAtoms, state);
}

void AddIons(benchmark::State& state) {
  const double edge = EdgeFor(state);
  const PDB solvated = Solvated(edge);
  PDB molecule;
  Solvate::IonResult ions;
  for (auto _ : state) {
    state.PauseTiming();
    molecule = solvated;
    state.ResumeTiming();
    Solvate::AddIons(edge, edge, edge, Vec3D(), 0, 0.15, false, molecule, ions);
  }
  SetComplexity(molecule.numAtoms, state);
}

void WriteSolvatedPDB(benchmark::State& state) {
  PDB molecule = Solvated(EdgeFor(state));
  for (auto _ : state) molecule.WritePDB("/dev/null");
  SetComplexity(molecule.numAtoms, state);
}

// Angles and dihedrals are made in the first round only.
void WriteSolvatedPSF(benchmark::State& state) {
  const PDB molecule = Solvated(EdgeFor(state));
  for (auto _ : state) molecule.WritePSF("/dev/null");
  SetComplexity(molecule.numAtoms, state);
}

// Of a block of proteins that fills the box.
void FindCollisions(benchmark::State& state) {
  const int edge = static_cast<int>(state.range(0));
  std::vector<Vec3D> coords;
  Block(edge).GetCoords(coords);
  std::vector<Vec3D> places;
  for (double x = 0.0; x < edge * 42.0; x += kGridStep) {
    for (double y = 0.0; y < edge * 42.0; y += kGridStep) {
      for (double z = 0.0; z < edge * 42.0; z += kGridStep) places.emplace_back(x, y, z);
    }
  }
  for (auto _ : state) {
    const CollisionGrid grid(coords);
    int collisions = 0;
    for (const Vec3D& place : places) collisions += grid.Collides(place);
    benchmark::DoNotOptimize(collisions);
  }
  SetComplexity(static_cast<int>(coords.size()), state);
}

// Grid places of 10,000 to 640,000 waters.
void OverBoxes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(10000)->Arg(40000)->Arg(160000)->Arg(640000)->Unit(benchmark::kMillisecond);
  benchmark->Complexity();
}

BENCHMARK(AddWaterToProtein)->Apply(OverBoxes);
BENCHMARK(AddDropletToProtein)->Apply(OverBoxes);
BENCHMARK(AddIons)->Apply(OverBoxes);
BENCHMARK(WriteSolvatedPDB)->Apply(OverBoxes);
BENCHMARK(WriteSolvatedPSF)->Apply(OverBoxes);
BENCHMARK(FindCollisions)
    ->Arg(1)
    ->Arg(2)
    ->Arg(4)
    ->Arg(7)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

}  // namespace

BENCHMARK_MAIN();
