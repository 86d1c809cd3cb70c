// The mode "check": a first look at a molecule, which it also cleans, or the splitting of a file of
// several models.
#include <cstdio>
#include <string>
#include <vector>

#include "Error.h"
#include "Job.h"
#include "PDB.h"

namespace orvane {

namespace {

void WriteModel(const std::string& path, const std::string& model) {
  std::FILE* const file = std::fopen(path.c_str(), "w");
  if (!file) RAVELO_FAIL("Cannot open file \"%s\".", path);
  const bool is_written = std::fwrite(model.data(), 1, model.size(), file) == model.size();
  if (std::fclose(file) != 0 || !is_written) {
    RAVELO_FAIL("Cannot write the file \"%s\" to its end.", path);
  }
}

void SplitModels(const std::vector<std::string>& models, const CmdArgs& args) {
  std::printf("There are %d models in \"%s\".\n", static_cast<int>(models.size()),
              args.inFilename.c_str());
  std::printf("Each of them is saved to \"%s-X.pdb\".\n", args.outPrefix.c_str());
  for (std::size_t i = 0; i < models.size(); ++i) {
    WriteModel(args.outPrefix + "-" + std::to_string(i + 1) + ".pdb", models[i]);
  }
}

}  // namespace

void Job::DoCheck(const CmdArgs& args) {
  PDB pdb;
  if (args.inFilename.empty()) RAVELO_FAIL("An input file must be given with \"-i\".");
  std::printf("Read: %s\n", args.inFilename.c_str());

  // Models are looked for in a file of any type: one that is no PDB file has none.
  std::vector<std::string> models;
  pdb.LoadPDBFileExtractModels(args.inFilename, models);
  if (models.size() >= 2) {
    SplitModels(models, args);
  } else {
    pdb.Load(args.inFilename);
    std::puts("Current molecule:");
    pdb.Report();
    WritePDB(args.outPrefix + ".pdb", pdb);
  }
}

}  // namespace orvane
