// The table of charges and Lennard-Jones values by atom type.
#include "AtomTypeParameters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "AtomTyper.h"
#include "CHARMMParameterFiles.h"

namespace orvane {
namespace {

void ExpectValues(const char* type, double charge, double well_depth, double half_distance) {
  const AtomTypeParameters* const found = FindAtomTypeParameters(type);
  ASSERT_NE(found, nullptr) << type;
  EXPECT_EQ(found->charge, charge) << type;
  EXPECT_EQ(found->well_depth, well_depth) << type;
  EXPECT_EQ(found->half_distance, half_distance) << type;
}

TEST(AtomTypeParameters, ATypeHasChargeWellDepthAndHalfDistance) {
  ExpectValues("HGA1", 0.09, -0.045, 1.34);
  ExpectValues("HGP1", 0.43, -0.046, 0.2245);
  ExpectValues("CG1T2", -0.41, -0.1032, 1.9925);
  ExpectValues("CG2D1", 0.0, -0.068, 2.09);
  ExpectValues("CG3C50", 0.028, -0.036, 2.01);
  ExpectValues("NG331", -1.125, -0.07, 1.98);
  ExpectValues("OG311", -0.63, -0.1921, 1.765);
  ExpectValues("SG2P1", -0.9, -0.6308, 2.0937);
  ExpectValues("IGR1", -0.17, -0.52, 2.24);
  ExpectValues("BG201", -0.13, -0.038, 2.55);
}

TEST(AtomTypeParameters, TheWellDepthOfALonePairIsANegativeZero) {
  ExpectValues("LPH", 0.05, 0.0, 0.0);
  EXPECT_TRUE(std::signbit(FindAtomTypeParameters("LPH")->well_depth));
  EXPECT_FALSE(std::signbit(FindAtomTypeParameters("LPH")->half_distance));
}

TEST(AtomTypeParameters, OtherTypesAreUnknown) {
  for (const char* type : {"", "X", "hga1", "HGA1 ", "CG2D2O", "HGA"}) {
    EXPECT_EQ(FindAtomTypeParameters(type), nullptr) << type;
  }
}

// The types of the table: those that atoms are given, element by element, and three more.
std::vector<std::string> AllTypes() {
  std::vector<std::string> types;
  const auto append = [&types](const auto& names) {
    for (const char* const name : names) {
      if (std::string(name) != "CG2D2O") types.emplace_back(name);
    }
  };
  append(AtomTyper::HTypes);
  append(AtomTyper::BTypes);
  append(AtomTyper::CTypes);
  append(AtomTyper::NTypes);
  append(AtomTyper::OTypes);
  append(AtomTyper::FTypes);
  append(AtomTyper::PTypes);
  append(AtomTyper::STypes);
  append(AtomTyper::ClTypes);
  append(AtomTyper::BrTypes);
  append(AtomTyper::ITypes);
  types.insert(types.end(), {"ALG1", "LPH", "SEGD1"});
  return types;
}

TEST(AtomTypeParameters, TheTableAddsUp) {
  double charge = 0.0;
  double well_depth = 0.0;
  double half_distance = 0.0;
  double k = 0.0;
  for (const std::string& type : AllTypes()) {
    const AtomTypeParameters* const found = FindAtomTypeParameters(type);
    ASSERT_NE(found, nullptr) << type;
    k += 1.0;
    charge += k * found->charge;
    well_depth += k * found->well_depth;
    half_distance += k * found->half_distance;
  }
  EXPECT_EQ(k, 160.0);
  EXPECT_NEAR(charge, -2005.651, 1e-6);
  EXPECT_NEAR(well_depth, -2652.861, 1e-6);
  EXPECT_NEAR(half_distance, 24046.2437, 1e-6);
}

// The table is no copy of the parameter text, and yet the two agree where they are meant to.
TEST(AtomTypeParameters, MostTypesHaveTheValuesOfTheParameterText) {
  CHARMMParameterFiles text;
  text.Initialize();
  std::string absent;
  std::string different;
  for (const auto& [type, values] : text.GetLennardJonesParams()) {
    const AtomTypeParameters* const found = FindAtomTypeParameters(type);
    if (found == nullptr) {
      absent += type + " ";
    } else if (std::fabs(found->well_depth - values.epsilon) > 1e-9 ||
               std::fabs(found->half_distance - values.Rmin_half) > 1e-9) {
      different += type + " ";
    }
  }
  EXPECT_EQ(absent, "CG2D2O ");
  EXPECT_EQ(different, "BRGR1 CLGR1 IGR1 ");
  for (const char* type : {"LPH", "SG2P1", "OG2S1", "SG2P2", "SEGD1", "BG201"}) {
    EXPECT_EQ(text.GetLennardJonesParams().count(type), 0u) << type;
    EXPECT_NE(FindAtomTypeParameters(type), nullptr) << type;
  }
}

}  // namespace
}  // namespace orvane
