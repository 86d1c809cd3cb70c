// Times what the modes "remove" and "pdb" do to a molecule in memory, on growing mixtures of a
// protein, waters, ions and ligands, and fits how the cost grows.
#include <benchmark/benchmark.h>

#include <set>
#include <string>

#include "PDB.h"

namespace {

using orvane::MolecularMechanicsTopology;
using orvane::PDB;

const std::string kSource = RAVELO_SOURCE_DIR;

void AppendResidue(const char* name, std::initializer_list<const char*> atoms, PDB& molecule) {
  PDB::Atom atom = molecule.atoms.back();
  atom.ResName = name;
  ++atom.ResSeq;
  for (const char* const atom_name : atoms) {
    atom.Name = atom_name;
    atom.Coord.x += 1.0;
    molecule.atoms.push_back(atom);
  }
}

// Copies of the example protein, every other one of chain A, each with 200 waters and some ions and
// ligands behind it.
PDB Mixture(int copies) {
  PDB protein;
  protein.LoadPDBFile(kSource + "/examples/1ubq.pdb");
  PDB molecule;
  for (int copy = 0; copy < copies; ++copy) {
    for (PDB::Atom atom : protein.atoms) {
      atom.ChainID = copy % 2 == 0 ? "A" : "B";
      molecule.atoms.push_back(atom);
    }
    for (int k = 0; k < 200; ++k) {
      AppendResidue("HOH", {"O", "H1", "H2"}, molecule);
      if (k % 20 == 0) AppendResidue("SOD", {"SOD"}, molecule);
      if (k % 50 == 0) AppendResidue("LIG", {"C1", "H11", "H12", "O1", "HO1"}, molecule);
    }
  }
  molecule.Analyze();
  return molecule;
}

template <typename Action>
void Time(benchmark::State& state, const PDB& start, const Action& action) {
  PDB molecule;
  for (auto _ : state) {
    state.PauseTiming();
    molecule = start;
    state.ResumeTiming();
    action(molecule);
    benchmark::DoNotOptimize(molecule);
  }
  state.SetComplexityN(start.numAtoms);
  state.counters["atoms"] = start.numAtoms;
}

PDB MixtureOf(const benchmark::State& state) {
  return Mixture(static_cast<int>(state.range(0)));
}

void RemoveWaters(benchmark::State& state) {
  std::set<std::string> names;
  Time(state, MixtureOf(state), [&](PDB& molecule) { molecule.RemoveWaters(names); });
}

void RemoveChain(benchmark::State& state) {
  Time(state, MixtureOf(state), [](PDB& molecule) { molecule.RemoveResiduesByChain("A"); });
}

void RemoveHydrogens(benchmark::State& state) {
  Time(state, MixtureOf(state), [](PDB& molecule) { molecule.RemoveHydrogens(); });
}

void RemoveAll(benchmark::State& state) {
  std::set<std::string> names;
  Time(state, MixtureOf(state), [&](PDB& molecule) {
    molecule.RemoveWaters(names);
    molecule.RemoveIons(names);
    molecule.RemoveLigands(names);
    molecule.RemoveResiduesByChain("A");
    molecule.RemoveHydrogens();
  });
}

void WrapIntoBox(benchmark::State& state) {
  Time(state, MixtureOf(state), [](PDB& molecule) { molecule.WrapPBC(20.0, 20.0, 20.0); });
}

void ApplyTopology(benchmark::State& state) {
  PDB start = MixtureOf(state);
  for (const PDB::Atom& atom : start.atoms) {
    MolecularMechanicsTopology::Atom& entry = start.tmpAtoms.emplace_back();
    entry.name = atom.Name;
    entry.residue_name = atom.ResName;
    entry.residue_sn = atom.ResSeq;
    entry.segment = atom.ChainID;
  }
  start.topology.Build(start.tmpAtoms, start.tmpBonds, start.tmpImpropers, start.tmpCmaps);
  Time(state, start, [](PDB& molecule) { molecule.ApplyTopology(); });
}

// About 2,500, 50,000 and 200,000 atoms.
void OverSizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(2)->Arg(40)->Arg(160)->Unit(benchmark::kMillisecond)->Complexity();
}

BENCHMARK(RemoveWaters)->Apply(OverSizes);
BENCHMARK(RemoveChain)->Apply(OverSizes);
BENCHMARK(RemoveHydrogens)->Apply(OverSizes);
BENCHMARK(RemoveAll)->Apply(OverSizes);
BENCHMARK(WrapIntoBox)->Apply(OverSizes);
BENCHMARK(ApplyTopology)->Apply(OverSizes);

}  // namespace

BENCHMARK_MAIN();
