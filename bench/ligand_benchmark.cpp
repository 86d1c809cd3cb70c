// Times the steps of the mode "ligand" on boxes of the example molecules and on blocks of the
// example crystal, from about a thousand to a million atoms, and fits how their cost grows.
#include <benchmark/benchmark.h>

#include <cmath>
#include <string>
#include <vector>

#include "AtomTyper.h"
#include "BondRule.h"
#include "BondSearch.h"
#include "Elements.h"
#include "PDB.h"
#include "RingClasses.h"
#include "Vec3D.h"

namespace {

using orvane::PDB;
using orvane::TermList;
using orvane::Vec3D;

const std::string kExamples = std::string(RAVELO_SOURCE_DIR) + "/examples/";

PDB Example(const std::string& name) {
  PDB molecule;
  molecule.Load(kExamples + name);
  return molecule;
}

// About so many atoms of the example molecules by turns, on a cubic grid.
PDB Box(int atoms) {
  constexpr double kSpacing = 12.0;  // Angstrom, no contacts between the molecules
  const PDB examples[] = {Example("aspirin.xyz"), Example("caffeine.xyz")};
  const int edge = 1 + static_cast<int>(std::cbrt(atoms / 20.0));
  PDB box;
  for (int copy = 0; static_cast<int>(box.atoms.size()) < atoms; ++copy) {
    const Vec3D shift(kSpacing * (copy % edge), kSpacing * (copy / edge % edge),
                      kSpacing * (copy / (edge * edge)));
    for (PDB::Atom atom : examples[copy % 2].atoms) {
      atom.Coord = atom.Coord + shift;
      box.atoms.push_back(atom);
    }
  }
  box.Analyze();
  return box;
}

// A block of cells of the example crystal as one large cell, so that molecules are cut by its faces
// only, with its lattice vectors.
struct Crystal {
  PDB molecule;
  Vec3D t1;
  Vec3D t2;
  Vec3D t3;
};

Crystal Block(int edge) {
  const Vec3D a(7.44, 0.0, 0.0);
  const Vec3D b(0.0, 9.55, 0.0);
  const Vec3D c(0.0, 0.0, 6.92);
  const PDB cell = Example("benzene-crystal.xyz");
  Crystal block{PDB(), a * edge, b * edge, c * edge};
  for (int k = 0; k < edge * edge * edge; ++k) {
    const Vec3D shift = a * (k % edge) + b * (k / edge % edge) + c * (k / (edge * edge));
    for (PDB::Atom atom : cell.atoms) {
      atom.Coord = atom.Coord + shift;
      block.molecule.atoms.push_back(atom);
    }
  }
  block.molecule.Analyze();
  return block;
}

// What the steps hand to each other.
struct Perceived {
  std::vector<Vec3D> coords;
  std::vector<orvane::BondRadii> radii;
  std::vector<int> elements;
  TermList bonds{2};
  std::vector<int> ring_classes;
};

Perceived Perceive(const PDB& molecule) {
  Perceived result;
  molecule.GetCoords(result.coords);
  const auto records = orvane::FindElements(molecule.atoms);
  result.radii = orvane::FindBondRadii(records);
  for (const auto& record : records) result.elements.push_back(record.atomic_number);
  orvane::FindBonds(result.coords, result.radii, result.bonds);
  result.ring_classes = orvane::FindRingClasses(molecule.numAtoms, result.bonds);
  return result;
}

void SetComplexity(const PDB& molecule, benchmark::State& state) {
  state.SetComplexityN(molecule.numAtoms);
  state.counters["atoms"] = molecule.numAtoms;
}

void FindBonds(benchmark::State& state) {
  const PDB molecule = Box(static_cast<int>(state.range(0)));
  const Perceived perceived = Perceive(molecule);
  TermList bonds(2);
  for (auto _ : state) {
    orvane::FindBonds(perceived.coords, perceived.radii, bonds);
    benchmark::DoNotOptimize(bonds);
  }
  SetComplexity(molecule, state);
}

void FindRingClasses(benchmark::State& state) {
  const PDB molecule = Box(static_cast<int>(state.range(0)));
  const Perceived perceived = Perceive(molecule);
  for (auto _ : state) {
    benchmark::DoNotOptimize(orvane::FindRingClasses(molecule.numAtoms, perceived.bonds));
  }
  SetComplexity(molecule, state);
}

void TypeAtoms(benchmark::State& state) {
  const PDB molecule = Box(static_cast<int>(state.range(0)));
  const Perceived perceived = Perceive(molecule);
  const orvane::AtomTyper typer;
  std::vector<std::string> types;
  for (auto _ : state) {
    typer.Type(perceived.elements, perceived.ring_classes, perceived.bonds, types);
    benchmark::DoNotOptimize(types);
  }
  SetComplexity(molecule, state);
}

// The three steps above, the charges, and the topology.
void GuessTopology(benchmark::State& state) {
  PDB molecule = Box(static_cast<int>(state.range(0)));
  for (auto _ : state) molecule.GuessTopology();
  SetComplexity(molecule, state);
}

void WriteNaiveParams(benchmark::State& state) {
  PDB molecule = Box(static_cast<int>(state.range(0)));
  molecule.GuessTopology();
  for (auto _ : state) molecule.WriteNaiveParams("/dev/null");
  SetComplexity(molecule, state);
}

void RepairCrystal(benchmark::State& state) {
  const Crystal block = Block(static_cast<int>(state.range(0)));
  PDB molecule;
  for (auto _ : state) {
    state.PauseTiming();
    molecule = block.molecule;
    state.ResumeTiming();
    molecule.AdjustCoordsToGetFewestFragmentsInCell(block.t1, block.t2, block.t3);
  }
  SetComplexity(block.molecule, state);
}

void BuildSuperCells(benchmark::State& state) {
  const Crystal cell = Block(1);
  const int edge = static_cast<int>(state.range(0)) / 2;  // cells on each side
  PDB molecule;
  for (auto _ : state) {
    state.PauseTiming();
    molecule = cell.molecule;
    state.ResumeTiming();
    molecule.BuildSuperCells(cell.t1, cell.t2, cell.t3, edge, edge, edge);
  }
  SetComplexity(molecule, state);
}

void OverAtoms(benchmark::internal::Benchmark* benchmark) {
  for (const int atoms : {1'000, 10'000, 100'000, 1'000'000}) benchmark->Arg(atoms);
  benchmark->Unit(benchmark::kMillisecond)->Complexity();
}

// 1,296 and 16,464 and 105,456 and 944,784 atoms.
void OverBlocks(benchmark::internal::Benchmark* benchmark) {
  for (const int edge : {3, 7, 13, 27}) benchmark->Arg(edge);
  benchmark->Unit(benchmark::kMillisecond)->Complexity();
}

BENCHMARK(FindBonds)->Apply(OverAtoms);
BENCHMARK(FindRingClasses)->Apply(OverAtoms);
BENCHMARK(TypeAtoms)->Apply(OverAtoms);
BENCHMARK(GuessTopology)->Apply(OverAtoms);
BENCHMARK(WriteNaiveParams)->Apply(OverAtoms);
BENCHMARK(RepairCrystal)->Apply(OverBlocks);
BENCHMARK(BuildSuperCells)->Apply(OverBlocks);

}  // namespace

BENCHMARK_MAIN();
