// Times the steps of the mode "topol" on growing numbers of copies of the example protein, and fits
// how their cost grows.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "CHARMMTopology.h"
#include "PDB.h"
#include "ResidueEditor.h"
#include "TopologyLibrary.h"

namespace {

using orvane::PDB;
using orvane::TopologyLibrary;

const std::string kSource = RAVELO_SOURCE_DIR;

std::string InTemporaryFolder(const char* name) {
  return (std::filesystem::temp_directory_path() / name).string();
}

const TopologyLibrary& Library() {
  static const TopologyLibrary library = [] {
    TopologyLibrary result;
    result.Build(kSource + "/data/top_all36_prot.rtf");
    return result;
  }();
  return library;
}

// Copies of the example protein, each a chain of its own.
PDB Copies(int copies) {
  PDB protein;
  protein.LoadPDBFile(kSource + "/examples/1ubq.pdb");
  protein.Regularize();
  PDB molecule;
  for (int copy = 0; copy < copies; ++copy) {
    for (PDB::Atom atom : protein.atoms) {
      atom.ChainID = std::string(1, static_cast<char>('A' + copy % 26));
      atom.Coord.x += 60.0 * (copy % 12);
      molecule.atoms.push_back(atom);
    }
  }
  molecule.Analyze();
  return molecule;
}

PDB Finished(int copies) {
  PDB molecule = Copies(copies);
  molecule.AddMissingHydrogens(Library());
  molecule.BuildTopology(Library());
  return molecule;
}

void SetComplexity(const PDB& molecule, benchmark::State& state) {
  state.SetComplexityN(molecule.numAtoms);
  state.counters["atoms"] = molecule.numAtoms;
}

void ReadLibrary(benchmark::State& state) {
  for (auto _ : state) {
    std::map<std::string, TopologyLibrary::Residue> residues;
    std::map<std::string, double> masses;
    for (const char* file : {"/data/top_all36_prot.rtf", "/data/top_all36_na.rtf"}) {
      orvane::CHARMMTopology::ReadTopologyFile(kSource + file, residues, masses);
    }
    benchmark::DoNotOptimize(residues);
  }
}
BENCHMARK(ReadLibrary)->Unit(benchmark::kMillisecond);

void ReadPDB(benchmark::State& state) {
  const std::string path = InTemporaryFolder("ravelo-benchmark.pdb");
  PDB molecule = Finished(static_cast<int>(state.range(0)));
  molecule.WritePDB(path);
  for (auto _ : state) {
    PDB read;
    read.LoadPDBFile(path);
    read.Analyze();
    benchmark::DoNotOptimize(read);
  }
  SetComplexity(molecule, state);
  std::filesystem::remove(path);
}

void CompleteResidues(benchmark::State& state) {
  const PDB bare = Copies(static_cast<int>(state.range(0)));
  PDB molecule;
  for (auto _ : state) {
    state.PauseTiming();
    molecule = bare;
    state.ResumeTiming();
    molecule.AddMissingHydrogens(Library());
  }
  SetComplexity(molecule, state);
}

std::string NameInChain(int atom) {
  return "C" + std::to_string(atom);
}

// A template of a chain of carbons.
TopologyLibrary LibraryOfChain(int atoms) {
  std::string text = "RESI BIG 0\n";
  for (int i = 0; i < atoms; ++i) text += "ATOM " + NameInChain(i) + " CT2 0\n";
  for (int i = 1; i < atoms; ++i) {
    text += "BOND " + NameInChain(i - 1) + ' ' + NameInChain(i) + '\n';
  }
  for (int i = 3; i < atoms; ++i) {
    text += "IC";
    for (int k = i - 3; k <= i; ++k) text += ' ' + NameInChain(k);
    text += " 1.5 111.0 180.0 111.0 1.5\n";
  }
  const std::string path = InTemporaryFolder("ravelo-benchmark.rtf");
  std::ofstream(path) << text;
  TopologyLibrary library;
  library.Build(path);
  std::filesystem::remove(path);
  return library;
}

// A sheet or a polymer may be one residue. Here every other atom of it is to be added.
void CompleteAndBuildOneLargeResidue(benchmark::State& state) {
  const int atoms = static_cast<int>(state.range(0));
  static std::map<int, TopologyLibrary> libraries;  // a benchmark runs more than once
  if (!libraries.contains(atoms)) libraries.emplace(atoms, LibraryOfChain(atoms));
  const TopologyLibrary& library = libraries.at(atoms);
  PDB half;
  for (int i = 0; i < atoms; i = i < 3 ? i + 1 : i + 2) {
    PDB::Atom& atom = half.atoms.emplace_back();
    atom.Name = NameInChain(i);
    atom.ResName = "BIG";
    atom.ChainID = "A";
    atom.ResSeq = 1;
    atom.Coord = orvane::Vec3D(1.25 * i, i % 2, i % 3);
  }
  half.Analyze();
  PDB molecule;
  for (auto _ : state) {
    state.PauseTiming();
    molecule = half;
    state.ResumeTiming();
    molecule.AddMissingHydrogens(library);
    molecule.BuildTopology(library);
  }
  SetComplexity(molecule, state);
}

void BuildTopology(benchmark::State& state) {
  PDB molecule = Copies(static_cast<int>(state.range(0)));
  molecule.AddMissingHydrogens(Library());
  for (auto _ : state) molecule.BuildTopology(Library());
  SetComplexity(molecule, state);
}

void PatchEveryChainEnd(benchmark::State& state) {
  const PDB unpatched = Finished(static_cast<int>(state.range(0)));
  const TopologyLibrary::Residue& patch = Library().GetResidues().at("CTER");
  PDB molecule;
  for (auto _ : state) {
    state.PauseTiming();
    molecule = unpatched;
    state.ResumeTiming();
    orvane::ResidueEditor editor(molecule, Library().GetMasses(), true);
    for (int residue = 75; residue < molecule.numResidues; residue += 76) {
      editor.PatchResidue(residue, patch);
    }
    editor.Commit();
  }
  SetComplexity(molecule, state);
}

void DeriveAnglesAndDihedrals(benchmark::State& state) {
  PDB molecule = Finished(static_cast<int>(state.range(0)));
  for (auto _ : state) molecule.topology.BuildAnglesAndDihedrals();
  SetComplexity(molecule, state);
}

void WritePDB(benchmark::State& state) {
  PDB molecule = Finished(static_cast<int>(state.range(0)));
  for (auto _ : state) molecule.WritePDB("/dev/null");
  SetComplexity(molecule, state);
}

void WritePSF(benchmark::State& state) {
  const PDB molecule = Finished(static_cast<int>(state.range(0)));
  for (auto _ : state) molecule.WritePSF("/dev/null");
  SetComplexity(molecule, state);
}

void ReadPSF(benchmark::State& state) {
  const std::string path = InTemporaryFolder("ravelo-benchmark.psf");
  const PDB molecule = Finished(static_cast<int>(state.range(0)));
  molecule.WritePSF(path);
  for (auto _ : state) {
    orvane::MolecularMechanicsTopology topology;
    topology.LoadFromPSF(path);
    benchmark::DoNotOptimize(topology);
  }
  SetComplexity(molecule, state);
  std::filesystem::remove(path);
}

// About 2,500, 50,000 and 200,000 finished atoms.
void OverSizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(2)->Arg(41)->Arg(163)->Unit(benchmark::kMillisecond)->Complexity();
}

BENCHMARK(ReadPDB)->Apply(OverSizes);
BENCHMARK(CompleteResidues)->Apply(OverSizes);
BENCHMARK(CompleteAndBuildOneLargeResidue)
    ->RangeMultiplier(4)
    ->Range(1000, 64000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();
BENCHMARK(BuildTopology)->Apply(OverSizes);
BENCHMARK(PatchEveryChainEnd)->Apply(OverSizes);
BENCHMARK(DeriveAnglesAndDihedrals)->Apply(OverSizes);
BENCHMARK(WritePDB)->Apply(OverSizes);
BENCHMARK(WritePSF)->Apply(OverSizes);
BENCHMARK(ReadPSF)->Apply(OverSizes);

}  // namespace

BENCHMARK_MAIN();
