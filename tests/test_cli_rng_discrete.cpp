// `xebruk rng` with the discrete laws: integer text and '<i4' .npy files
// hold the values of one library call, and parameters the library would
// trust are refused by the command.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/streams.h"
#include "xebruk/xebruk.h"

namespace {

// Runs the command; its stdout and stderr go to files read back here.
struct Outcome {
    int exit_code;
    std::string out, err;
};
Outcome xebruk_rng(const std::string& args) {
    const std::string base = ::testing::TempDir() + "cli_rng_discrete_" +
                             ::testing::UnitTest::GetInstance()->current_test_info()->name();
    const auto take = [](const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        std::string s{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        std::remove(path.c_str());
        return s;
    };
    const int status =
        std::system((std::string(XEBRUK_CLI_PATH) + " rng " + args + " > " + base + ".out 2> " + base + ".err").c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, take(base + ".out"), take(base + ".err")};
}

TEST(CliRngDiscrete, TextAndNpyHoldTheLibrarysIntegers) {
    xt::StreamHandle h;
    const uint32_t seed = 77;
    std::vector<int32_t> want(3000), got;
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MT19937, 1, &seed), RUK_OK);
    ASSERT_EQ(rukiRngBinomial(0, h.get(), 3000, want.data(), 200, 0.7), RUK_OK);

    const std::string args = "--gen mt19937 --seed 77 --law binomial --params 200,0.7 --n 3000";
    const Outcome text = xebruk_rng(args);
    ASSERT_EQ(text.exit_code, 0) << text.err;
    std::istringstream lines(text.out);
    for (std::string line; std::getline(lines, line);) got.push_back(std::stoi(line));
    EXPECT_EQ(got, want);
    EXPECT_NE(text.err.find("binomial integer from mt19937: count 3000"), std::string::npos) << text.err;

    const Outcome npy = xebruk_rng(args + " --quiet --format npy");
    ASSERT_EQ(npy.exit_code, 0) << npy.err;
    ASSERT_GT(npy.out.size(), 10u);
    const std::size_t header = static_cast<unsigned char>(npy.out[8]) + 256u * static_cast<unsigned char>(npy.out[9]);
    EXPECT_NE(npy.out.find("'descr': '<i4'"), std::string::npos);
    ASSERT_EQ(npy.out.size(), 10 + header + 4 * want.size());
    EXPECT_EQ(std::memcmp(npy.out.data() + 10 + header, want.data(), 4 * want.size()), 0);

    // The urn and count laws take their parameters in the listed order, and
    // Poisson its method.
    const std::pair<std::string, std::function<int32_t(RukStream*, int32_t*)>> laws[] = {
        {"hypergeometric --params 1000,100,600", [](RukStream* s, int32_t* r) { return rukiRngHypergeometric(0, s, 50, r, 1000, 100, 600); }},
        {"negbinomial --params 2.5,0.25", [](RukStream* s, int32_t* r) { return rukiRngNegbinomial(0, s, 50, r, 2.5, 0.25); }},
        {"poisson --params 40 --method 1", [](RukStream* s, int32_t* r) { return rukiRngPoisson(1, s, 50, r, 40.0); }}};
    for (const auto& [law, call] : laws) {
        xt::StreamHandle fresh;
        ASSERT_EQ(rukNewStreamEx(fresh.out(), RUK_BRNG_MT19937, 1, &seed), RUK_OK);
        ASSERT_EQ(call(fresh.get(), want.data()), RUK_OK);
        std::string lines;
        for (int i = 0; i < 50; ++i) lines += std::to_string(want[i]) + "\n";
        EXPECT_EQ(xebruk_rng("--seed 77 --n 50 --quiet --law " + law).out, lines) << law;
        EXPECT_NE(xebruk_rng("--list").out.find(law.substr(0, law.find(' '))), std::string::npos) << law;
    }

    // The generator's words, read as signed integers.
    EXPECT_EQ(xebruk_rng("--gen mcg31m1 --seed 1 --law bits --n 3 --quiet").out, "1\n1132489760\n826537482\n");
}

// Parameters outside a law are refused before anything is drawn, naming
// the parameter (before, geometric p = 0 printed -1 for every value and a
// negative scale printed numbers).
TEST(CliRngDiscrete, ParametersOutsideTheLawAreNamed) {
    const std::pair<const char*, const char*> cases[] = {
        {"--law binomial --params 10,1.5", "binomial: p must lie in [0, 1]"},
        {"--law binomial --params -1,0.5", "trials must be a whole number from 0"},
        {"--law binomial --params 2.5,0.5", "trials must be a whole number from 0"},
        {"--law geometric --params 0", "p must be above 0 and at most 1"},
        {"--law geometric --params -0.1", "p must be above 0 and at most 1"},
        {"--law bernoulli --params 2", "p must lie in [0, 1]"},
        {"--law uniform_int --params 5,5", "a must be below b"},
        {"--law uniform_int --params 0,3e9", "b must be a whole number"},
        {"--law hypergeometric --params 10,11,3", "hypergeometric: sample must be at most lot"},
        {"--law hypergeometric --params 10,3,2.5", "marked must be a whole number from 0"},
        {"--law negbinomial --params 0,0.5", "negbinomial: a must be above 0"},
        {"--law negbinomial --params 2,1.5", "p must be above 0 and at most 1"},
        {"--law gaussian --params 0,-1", "gaussian: sigma must be above 0"},
        {"--law exponential --params 0,-2", "exponential: beta must be above 0"},
        {"--law weibull --params 0,0,1", "weibull: alpha must be above 0"},
        {"--law lognormal --params 0,1,0,-1", "lognormal: beta must be above 0"},
        {"--law uniform --params 2,1", "uniform: a must be below b"},
        {"--law uniform --params 0,inf", "b must be a finite number"},
        {"--law cauchy --params 0,1e39 --precision single", "beta must be a finite single-precision number"},
        {"--law gamma --params 0,0,1", "gamma: alpha must be above 0"},
        {"--law gamma --params 2,0,-1", "gamma: beta must be above 0"},
        {"--law poisson --params -1", "poisson: lambda must lie in [0, 2143289344]"},
        {"--law poisson --params 3e9 --method 1", "lambda must lie in"},
        {"--law poissonv --params nan", "poissonv: lambda must be a finite number"},
    };
    for (const auto& [args, message] : cases) {
        const Outcome r = xebruk_rng(std::string(args) + " --n 3");
        EXPECT_EQ(r.exit_code, 2) << args;
        EXPECT_NE(r.err.find(message), std::string::npos) << args << ": " << r.err;
        EXPECT_EQ(r.out, "") << args;
    }
}

}  // namespace
