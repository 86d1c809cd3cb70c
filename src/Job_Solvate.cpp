// The mode "solvate": puts a molecule into a box or a droplet of water with ions.
#include <cstdio>
#include <string>

#include "Error.h"
#include "Job.h"
#include "PDB.h"
#include "Solvate.h"

namespace orvane {

namespace {

int AddWater(const CmdArgs& args, const Vec3D& shift, PDB& molecule) {
  const double a = args.box[0];
  const double b = args.box[1];
  const double c = args.box[2];
  if (args.droplet) {
    std::printf("Building water droplet with radii: %.3f x %.3f x %.3f Angstrom^3.\n", a / 2, b / 2,
                c / 2);
  } else {
    std::printf("Building water box: %.3f x %.3f x %.3f Angstrom^3.\n", a, b, c);
  }
  std::printf("Center moved by: %.3f, %.3f, %.3f Angstrom.\n", shift.x, shift.y, shift.z);
  return Solvate::AddWaterBox(a, b, c, shift, molecule, args.droplet);
}

void AddIons(const CmdArgs& args, const Vec3D& shift, PDB& molecule) {
  std::puts("Add ions:");
  std::printf(" Target charge: %d\n", args.charge);
  std::printf(" Target ionic strength: %.3f mol/L\n", args.ionicStrength);
  Solvate::IonResult ions;
  Solvate::AddIons(args.box[0], args.box[1], args.box[2], shift, args.charge, args.ionicStrength,
                   args.droplet, molecule, ions);
  std::printf("%d cations and %d anions are added.\n", ions.cations, ions.anions);
  std::printf("Final ionic strength: %.3f mol/L\n", ions.ionic_strength);
}

}  // namespace

void Job::DoSolvate(const CmdArgs& args) {
  PDB molecule;
  ReadMolecule(args, molecule);
  std::puts("Current molecule:");
  molecule.Report();

  ReadTopology(args, molecule);
  Solvate::Initialize();
  if (args.box.empty()) RAVELO_FAIL("Box size must be given with \"--box\".");

  Vec3D shift;
  if (!args.move.empty()) shift = Vec3D(args.move[0], args.move[1], args.move[2]);
  const int waters = AddWater(args, shift, molecule);
  std::printf("%d water molecules are added.\n", waters);
  if (args.noAddIons) {
    std::puts("No ions are added.");
  } else {
    AddIons(args, shift, molecule);
  }

  WriteMolecule(args, molecule);
  ReportTotalCharge(molecule.GetTopology());
}

}  // namespace orvane
