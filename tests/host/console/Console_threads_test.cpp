// Browsers that ask for everything, and operators that steer, while a run goes on.
#include <atomic>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "host/console/Console.h"
#include "host/run/Pipeline.h"
#include "tests/support/TestData.h"

namespace {

TEST(Console, AnswersWhileTheRunGoesOn) {
    GNSS_REQUIRE_TEST_DATA(path, "data/oemv_200911218.gps");
    Host::RunSettings settings;
    settings.request.inputs = {path};
    settings.console.address = "127.0.0.1:0";
    Host::Console console(settings, "files");
    std::string reason;
    ASSERT_TRUE(console.Configure(settings, reason)) << reason;
    Host::Pipeline pipeline(settings.request, {&console.GetOutput()});
    console.Join(pipeline.GetCore());
    ASSERT_TRUE(pipeline.Open(reason)) << reason;
    std::atomic<int> nmrWoken = 0;
    ASSERT_TRUE(console.Start([&] { ++nmrWoken; }, reason)) << reason;

    std::atomic<bool> isOver = false;
    std::atomic<int> nmrAnswers = 0;
    std::atomic<int> nmrCommands = 0;
    const auto browse = [&](int browser) {
        const std::vector<std::pair<std::string, std::map<std::string, std::string>>> wanted{
            {"sky.svg", {{"mode", "alternate"}, {"turn", std::to_string(browser)}}},
            {"store/almanac", {{"glonass", std::to_string(browser)}}},
            {"store/ephemeris", {{"record", std::to_string(browser)}}},
            {"store/glonass", {}},
            {"series", {{"from", "3"}}},
            {"events", {}},
        };
        for (int round = 0; !isOver || round < 2; ++round) {
            for (const auto& [what, parameters] : wanted) {
                EXPECT_EQ(console.Get(what, parameters).status, 200) << what;
                ++nmrAnswers;
            }
            const std::string body = std::string(R"({"satellite":"R0)") + (browser == 0 ? "1" : "2") +
                                     R"(","enabled":)" + (round % 2 == 0 ? "false}" : "true}");
            nmrCommands += console.Post("health", body, "::1").status == 202 ? 1 : 0;
        }
    };
    std::vector<std::thread> browsers;
    for (int browser = 0; browser < 2; ++browser) browsers.emplace_back(browse, browser);
    EXPECT_EQ(pipeline.Run([&](const Host::RunFacts&) { console.Work(pipeline.GetCore()); }), "");
    isOver = true;
    for (std::thread& browser : browsers) browser.join();
    console.Stop();
    EXPECT_EQ(pipeline.GetFacts().counts.fixes, 46);
    EXPECT_GT(nmrAnswers, 20);
    EXPECT_EQ(nmrWoken, nmrCommands);
    EXPECT_GT(nmrCommands, 0);
}

}  // namespace
