// The program ravelo-export: a PSF file of ravelo in, a PSF file that simulation engines read out.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <initializer_list>
#include <string>

#include "EngineTopology.h"
#include "Error.h"
#include "OutOfMemory.h"
#include "PDB.h"
#include "cmdline.h"

namespace {

constexpr char kProgramName[] = "ravelo-export";

void DeclareOptions(cmdline::parser& parser) {
  parser.program_name = kProgramName;
  parser.add<std::string>("in", 'i', "Input PSF filename, as ravelo writes it", true, "");
  parser.add<std::string>("out", 'o', "Output PSF filename, for simulation engines", true, "");
  parser.add<std::string>("pdb", 'p', "PDB filename whose chains become the segments", false, "");
  parser.add("help", '?', "Print this message");
}

[[noreturn]] void EndWithUsage(const std::string& error, const cmdline::parser& parser) {
  std::fprintf(stderr, "%s\n%s", error.c_str(), parser.usage().c_str());
  std::exit(1);
}

void CheckCommandLine(bool well_formed, const cmdline::parser& parser) {
  if (!well_formed) EndWithUsage(parser.errors.front(), parser);
  if (!parser.others.empty()) EndWithUsage("stray argument: " + parser.others.front(), parser);
}

// The PSF file that goes in is what ravelo itself reads, and nothing can make it anew from the one
// that comes out.
void CheckOutputReplacesNoInput(const std::string& output,
                                std::initializer_list<std::string> inputs) {
  for (const std::string& input : inputs) {
    std::error_code ignored;
    if (std::filesystem::equivalent(input, output, ignored)) {
      RAVELO_FAIL("The output would replace the input file \"%s\".", input);
    }
  }
}

struct ReportLine {
  const char* what;
  std::size_t count;
};

void PrintLines(std::initializer_list<ReportLine> lines) {
  for (const ReportLine& line : lines) std::printf("%-32s %zu\n", line.what, line.count);
}

void Report(const orvane::EngineTopology& topology) {
  const orvane::EngineTopology::Repeats& repeats = topology.repeats;
  PrintLines({{"Number of atoms:", topology.atoms.size()},
              {"Number of bonds:", topology.bonds.size()},
              {"Number of angles:", topology.angles.size()},
              {"Number of dihedrals:", topology.dihedrals.size()},
              {"Number of impropers:", topology.impropers.size()},
              {"Number of cross-terms:", topology.cross_terms.size()},
              {"Halves of cross-terms left out:", topology.lone_halves}});
  if (topology.hydrogen_angles > 0) {
    PrintLines({{"Angles at rigid bonds left out:", topology.hydrogen_angles}});
  }
  PrintLines({{"Repeated terms left out:", repeats.Total()}});
  if (repeats.Total() == 0) return;
  PrintLines({{" Repeated bonds:", repeats.bonds},
              {" Repeated angles:", repeats.angles},
              {" Repeated dihedrals:", repeats.dihedrals},
              {" Repeated impropers:", repeats.impropers},
              {" Repeated cross-terms:", repeats.cross_terms}});
}

void Warn(const orvane::EngineTopology& topology) {
  if (const std::size_t residues = orvane::CountSplitResidues(topology)) {
    std::printf(
        "Warning: %zu residues have atoms of several segments. Give the PDB file with \"-p\" to "
        "take the segments from its chains.\n",
        residues);
  }
  if (const std::size_t atoms = orvane::CountAtomsWithoutMass(topology)) {
    std::printf("Warning: %zu atoms have no mass.\n", atoms);
  }
}

void Export(const std::string& input, const std::string& output, const std::string& pdb_path) {
  CheckOutputReplacesNoInput(output, {input, pdb_path});
  std::printf("Read: %s\n", input.c_str());
  orvane::EngineTopology topology = orvane::LoadEngineTopology(input);
  if (!pdb_path.empty()) {
    std::printf("Read: %s\n", pdb_path.c_str());
    orvane::PDB pdb;
    pdb.LoadPDBFile(pdb_path);
    orvane::TakeSegments(pdb, pdb_path, input, topology);
  }
  Warn(topology);
  std::printf("Write PSF: %s\n", output.c_str());
  orvane::WriteEnginePSF(topology, output);
  Report(topology);
}

}  // namespace

int main(int argc, char** argv) {
  orvane::ReportFailuresByExitStatus();
  orvane::EndRunWhenOutOfMemory();
  cmdline::parser parser;
  DeclareOptions(parser);
  const bool well_formed = parser.parse(argc, argv);
  if (parser.exist("help")) {
    std::fputs(parser.usage().c_str(), stdout);
    return 0;
  }
  CheckCommandLine(well_formed, parser);
  try {
    Export(parser.get<std::string>("in"), parser.get<std::string>("out"),
           parser.get<std::string>("pdb"));
  } catch (const std::exception& failure) {
    // The reader of PSF files lets some broken counts end in an exception of the standard library.
    RAVELO_FAIL("Cannot read \"%s\": %s.", parser.get<std::string>("in"), failure.what());
  }
  return 0;
}
