// Element data: look-ups by number and symbol, and the printed table.
#include "PeriodicTable.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::OutputOf;

PeriodicTable::ElementInformation Filled() {
  PeriodicTable::ElementInformation info;
  info.symbol = "?";
  info.atomic_number = -7;
  info.core_electrons = -8;
  info.valence_electrons = -9;
  info.radius_single = -1.0;
  info.radius_double = -2.0;
  info.radius_triple = -3.0;
  info.radius_vdw = -4.0;
  info.weight = -5.0;
  info.spin = -6.0;
  info.radius_uff = -7.0;
  info.radius_bondi = -8.0;
  return info;
}

std::vector<double> Figures(const PeriodicTable::ElementInformation& info) {
  return {static_cast<double>(info.atomic_number),
          static_cast<double>(info.core_electrons),
          static_cast<double>(info.valence_electrons),
          info.radius_single,
          info.radius_double,
          info.radius_triple,
          info.radius_vdw,
          info.weight,
          info.spin,
          info.radius_uff,
          info.radius_bondi};
}

std::vector<std::string> PrintedLines() {
  std::istringstream text(OutputOf([] { PeriodicTable::List(); }));
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

TEST(PeriodicTable, ASymbolGivesTheWholeRecordOfItsElement) {
  PeriodicTable::ElementInformation info = Filled();
  EXPECT_EQ(PeriodicTable::GetElementInformation("C", info), 6);
  EXPECT_EQ(info.symbol, "C");
  EXPECT_EQ(Figures(info), (std::vector<double>{6, 2, 4, 0.75, 0.67, 0.6, 1.7, 12.0096, 3.0,
                                                1.925499998246, 1.699999999471}));
  EXPECT_EQ(PeriodicTable::GetElementInformation("Cl", info), 17);
  EXPECT_EQ(info.symbol, "Cl");
  EXPECT_EQ(Figures(info), (std::vector<double>{17, 10, 7, 0.99, 0.95, 0.93, 1.75, 35.446, 2.0,
                                                1.973500001294, 1.750000001323}));
  EXPECT_EQ(PeriodicTable::GetElementInformation("Bk", info), 97);
  EXPECT_EQ(Figures(info), (std::vector<double>{97, 86, 11, 1.66, 1.39, 0.0, 0.0, 247.0, 6.0,
                                                1.669499997865, 0.0}));
}

TEST(PeriodicTable, HydrogenHasNoDoubleAndTripleBonds) {
  PeriodicTable::ElementInformation info = Filled();
  EXPECT_EQ(PeriodicTable::GetElementInformation("H", info), 1);
  EXPECT_EQ(info.radius_single, 0.32);
  EXPECT_EQ(info.radius_double, 0.0);
  EXPECT_EQ(info.radius_triple, 0.0);
  EXPECT_EQ(info.valence_electrons, 1);
}

TEST(PeriodicTable, SymbolsMatchAsTheyAreSpelled) {
  PeriodicTable::ElementInformation info;
  EXPECT_EQ(PeriodicTable::GetElementInformation("Na", info), 11);
  for (const char* symbol : {"NA", "na", " Na", "Na ", "", "Uue", "x"}) {
    EXPECT_EQ(PeriodicTable::GetElementInformation(symbol, info), PeriodicTable::UnknownElement)
        << symbol;
  }
}

TEST(PeriodicTable, ThePlaceholderIsFoundByItsSymbolAndItsNumber) {
  PeriodicTable::ElementInformation by_symbol = Filled();
  PeriodicTable::ElementInformation by_number = Filled();
  EXPECT_EQ(PeriodicTable::GetElementInformation("X", by_symbol), 0);
  EXPECT_EQ(PeriodicTable::GetElementInformation(0, by_number), 0);
  const std::vector<double> nothing = {0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0};
  EXPECT_EQ(Figures(by_symbol), nothing);
  EXPECT_EQ(Figures(by_number), nothing);
  EXPECT_EQ(by_number.symbol, "X");
}

TEST(PeriodicTable, TheLastElementIsInTheTablesAndNotFound) {
  PeriodicTable::ElementInformation info = Filled();
  const std::vector<double> before = Figures(info);
  EXPECT_EQ(PeriodicTable::GetElementInformation("Og", info), -1);
  EXPECT_EQ(PeriodicTable::GetElementInformation(118, info), -1);
  EXPECT_EQ(Figures(info), before);
  EXPECT_STREQ(PeriodicTable::ElementSymbols[118], "Og");
  EXPECT_EQ(PeriodicTable::GetElementInformation("Ts", info), 117);
  EXPECT_EQ(PeriodicTable::GetElementInformation(117, info), 117);
}

TEST(PeriodicTable, AnythingUnknownLeavesTheRecordAsItWas) {
  PeriodicTable::ElementInformation info;
  PeriodicTable::GetElementInformation("Fe", info);
  const std::vector<double> iron = Figures(info);
  EXPECT_EQ(PeriodicTable::GetElementInformation("Qq", info), -1);
  EXPECT_EQ(PeriodicTable::GetElementInformation(-1, info), -1);
  EXPECT_EQ(PeriodicTable::WriteElementInformation(-2147483647 - 1, info), -1);
  EXPECT_EQ(PeriodicTable::WriteElementInformation(2147483647, info), -1);
  EXPECT_EQ(info.symbol, "Fe");
  EXPECT_EQ(Figures(info), iron);
}

TEST(PeriodicTable, EveryElementIsFoundByItsSymbolAndItsNumberAlike) {
  for (int z = 0; z < PeriodicTable::NumElements; ++z) {
    PeriodicTable::ElementInformation by_number;
    PeriodicTable::ElementInformation by_symbol;
    const auto row = static_cast<std::size_t>(z);
    ASSERT_EQ(PeriodicTable::GetElementInformation(z, by_number), z);
    ASSERT_EQ(PeriodicTable::GetElementInformation(PeriodicTable::ElementSymbols[row], by_symbol),
              z);
    EXPECT_EQ(by_number.symbol, PeriodicTable::ElementSymbols[row]);
    EXPECT_EQ(Figures(by_number), Figures(by_symbol));
    EXPECT_EQ(
        Figures(by_number),
        (std::vector<double>{
            static_cast<double>(z), static_cast<double>(PeriodicTable::NumCoreElectrons[row]),
            static_cast<double>(z - PeriodicTable::NumCoreElectrons[row]),
            PeriodicTable::ElementCovalentRadii_I[row], PeriodicTable::ElementCovalentRadii_II[row],
            PeriodicTable::ElementCovalentRadii_III[row],
            PeriodicTable::ElementvanderWaalsRadii[row], PeriodicTable::Weights[row],
            static_cast<double>(PeriodicTable::Spin2p1[row]), PeriodicTable::ElementUFFRadii[row],
            PeriodicTable::ElementBondiRadii[row]}));
  }
}

TEST(PeriodicTable, CoresAreNobleGasesAndWeightsAndRadiiStayInRange) {
  for (std::size_t z = 1; z <= PeriodicTable::NumElements; ++z) {
    const int core = PeriodicTable::NumCoreElectrons[z];
    EXPECT_TRUE(core == 0 || core == 2 || core == 10 || core == 18 || core == 36 || core == 54 ||
                core == 86);
    EXPECT_LT(core, static_cast<int>(z));
    EXPECT_GE(PeriodicTable::Weights[z], static_cast<double>(z));
    EXPECT_LT(PeriodicTable::ElementCovalentRadii_I[z], 2.4);
    EXPECT_LT(PeriodicTable::ElementvanderWaalsRadii[z], 3.5);
    EXPECT_GE(PeriodicTable::Spin2p1[z], 1);
  }
}

// A table's values, each times its atomic number, summed: a value that is wrong or in the wrong row
// changes it.
template <typename Value>
double WeightedSum(const PeriodicTable::Array<Value>& table) {
  double sum = 0.0;
  for (std::size_t z = 0; z < table.size(); ++z) {
    sum += static_cast<double>(z) * static_cast<double>(table[z]);
  }
  return sum;
}

TEST(PeriodicTable, TheTablesAddUp) {
  EXPECT_NEAR(WeightedSum(PeriodicTable::ElementCovalentRadii_I), 9177.26, 1e-6);
  EXPECT_NEAR(WeightedSum(PeriodicTable::ElementCovalentRadii_II), 7915.18, 1e-6);
  EXPECT_NEAR(WeightedSum(PeriodicTable::ElementCovalentRadii_III), 4871.98, 1e-6);
  EXPECT_NEAR(WeightedSum(PeriodicTable::ElementvanderWaalsRadii), 4515.77, 1e-6);
  EXPECT_NEAR(WeightedSum(PeriodicTable::Weights), 1378835.973257217, 1e-6);
  EXPECT_NEAR(WeightedSum(PeriodicTable::Spin2p1), 21666, 1e-6);
  EXPECT_NEAR(WeightedSum(PeriodicTable::NumCoreElectrons), 443562, 1e-6);
  EXPECT_NEAR(WeightedSum(PeriodicTable::ElementUFFRadii), 9542.815498122176, 1e-6);
  EXPECT_NEAR(WeightedSum(PeriodicTable::ElementBondiRadii), 4101.786001387443, 1e-6);
}

// A hash over the bits of a table's values. The UFF and Bondi radii carry digits beyond the
// published ones, which a sum would not show.
template <typename Value>
std::uint64_t HashOf(const PeriodicTable::Array<Value>& table) {
  std::uint64_t hash = 14695981039346656037u;
  for (const Value value : table) {
    hash = (hash ^ std::bit_cast<std::uint64_t>(static_cast<double>(value))) * 1099511628211u;
  }
  return hash;
}

TEST(PeriodicTable, TheTablesAreRightToTheLastDigit) {
  EXPECT_EQ(HashOf(PeriodicTable::ElementCovalentRadii_I), 16163012532421867978u);
  EXPECT_EQ(HashOf(PeriodicTable::ElementCovalentRadii_II), 1075732216891422930u);
  EXPECT_EQ(HashOf(PeriodicTable::ElementCovalentRadii_III), 15186792029102081350u);
  EXPECT_EQ(HashOf(PeriodicTable::ElementvanderWaalsRadii), 11398842750721293435u);
  EXPECT_EQ(HashOf(PeriodicTable::Weights), 16179083865123422815u);
  EXPECT_EQ(HashOf(PeriodicTable::Spin2p1), 18292089896960513767u);
  EXPECT_EQ(HashOf(PeriodicTable::NumCoreElectrons), 3086248705097455335u);
  EXPECT_EQ(HashOf(PeriodicTable::ElementUFFRadii), 12127058193233420952u);
  EXPECT_EQ(HashOf(PeriodicTable::ElementBondiRadii), 9606208829274617254u);
}

TEST(PeriodicTable, TheListNamesItsSources) {
  const std::vector<std::string> lines = PrintedLines();
  ASSERT_EQ(lines.size(), 129u);
  EXPECT_EQ(lines[0], "Data sources:");
  const std::vector<std::vector<std::string>> sources = {
      {" Covalent radii I (Angstrom):", "Phys. Rev. B., 2012, 85, 024115."},
      {" Covalent radii II, III (Angstrom):", "Chem. Eur. J., 2009, 15, 186."},
      {" van der Waals radii (Angstrom):", "http"},
      {" Atomic weights (a.u.):", "Pure Appl. Chem. 2016, 88, 265"},
      {" Bondi radii (Angstrom):", "J. Phys. Chem. 1964, 68, 441"},
      {" UFF radii (Angstrom):", "J. Am. Chem. Soc. 1992, 114, 10024"}};
  for (std::size_t i = 0; i < sources.size(); ++i) {
    EXPECT_TRUE(lines[i + 1].starts_with(sources[i][0])) << lines[i + 1];
    EXPECT_NE(lines[i + 1].find(sources[i][1]), std::string::npos) << lines[i + 1];
  }
}

TEST(PeriodicTable, TheListHasARowForEveryElementBetweenRules) {
  const std::vector<std::string> lines = PrintedLines();
  ASSERT_EQ(lines.size(), 129u);
  const std::string rule(96, '-');
  EXPECT_EQ(lines[7], rule);
  EXPECT_EQ(lines[8],
            "  Charge Symbol     CovRI    CovRII   CovRIII      vdWR    Weight  Spin*2+1      UFFR"
            "    BondiR");
  EXPECT_EQ(lines[9], rule);
  EXPECT_EQ(lines[10],
            "       1      H     0.320     0.000     0.000     1.100     1.008         2     1.443"
            "     1.200");
  EXPECT_EQ(lines[15],
            "       6      C     0.750     0.670     0.600     1.700    12.010         3     1.925"
            "     1.700");
  EXPECT_EQ(lines[127],
            "     118     Og     0.000     0.000     0.000     0.000   294.000         1     0.000"
            "     0.000");
  EXPECT_EQ(lines[128], rule);
}

}  // namespace
}  // namespace orvane
