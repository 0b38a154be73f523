#include "shell.h"
#include "support/realdata.h"

#include <cstdlib>

namespace skar::test {

namespace {

namespace fs = std::filesystem;

// The comparison itself is that of independent_swath.py; what it prints says how much there was to compare.
struct SwathFile {
    const char* name;
    const char* compared;
};

constexpr SwathFile swathFiles[] = {
    {"all/0001_20140213_052736_Yolla.all",
     "183 X, 73200 beams, 67964 valid 9.00 to 12.95 m, 183 N, 73200 beams, 153 placed, 42 speeds"},
    {"all/0200_MBES_EM122_20150203_010431_Supporter_GA4430.all",
     "0 X, 0 beams, 0 valid, 0 N, 0 beams, 0 placed, 818 speeds"},
    {"all/0243_P007_MBES_EM122_20150207_044356_Supporter_GA4430.all",
     "11 X, 4752 beams, 4749 valid 3479.92 to 3661.06 m, 12 N, 5184 beams, 9 placed, 733 speeds"},
    {"all-mpl/0077_20221109_123655_Belgica.all",
     "9 X, 2304 beams, 2304 valid 15.01 to 15.38 m, 10 N, 2560 beams, 5 placed, 14 speeds"},
    {"all-mpl/EM710_3092155654265012286.all",
     "10 X, 1280 beams, 1267 valid 103.50 to 110.32 m, 10 N, 1280 beams, 4 placed, 544 speeds"},
    {"all-mpl/EM710_7041029013895133878.all",
     "10 X, 4000 beams, 4000 valid 125.85 to 129.26 m, 10 N, 4000 beams, 7 placed, 139 speeds"},
    {"gsf/0059_20181102_212138_EX1811_MB_EM302.gsf.mb121",
     "50 X, 21600 beams, 20959 valid 1165.56 to 2316.67 m, 50 N, 21600 beams, 50 placed, 976 speeds, "
     "21600 beams with errors"},
};

class RealPings : public ToolTest, public testing::WithParamInterface<SwathFile> {};

TEST_P(RealPings, AreInTheLineAsAnIndependentReaderFindsThem) {
    expectIndependentReaderAgrees("independent_swath.py", GetParam().name, GetParam().compared);
}

INSTANTIATE_TEST_SUITE_P(All, RealPings, testing::ValuesIn(swathFiles), skar::tests::namedAfterFile);

} // namespace

} // namespace skar::test
