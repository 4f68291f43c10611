#include <gtest/gtest.h>

#include "tools/lab/demo/Histogram.h"
#include "tools/lab/demo/PacketRatePlot.h"
#include "tools/lab/demo/Report.h"
#include "tools/lab/demo/Text.h"

namespace lab {
namespace {

bool Holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(Report, SaysWhatFailedAndEscapesWhatItShows) {
    Report report;
    ReportSection& good = report.AddSection("One", "");
    good.Add({"fine", "1", "1", true});
    EXPECT_TRUE(Holds(report.Html(), "All 1 checks passed"));
    ReportSection& bad = report.AddSection("Two <b>", "");
    bad.Add({"broken & \"odd\"", "<1", "\x01", false});
    bad.Add({"fine", "2", "2", true});
    EXPECT_EQ(report.CheckCount(), 3u);
    EXPECT_EQ(report.Failures(), 1u);

    const std::string html = report.Html();
    EXPECT_TRUE(Holds(html, "1 of 3 checks failed"));
    EXPECT_TRUE(Holds(html, "1 of 2 failed"));
    EXPECT_TRUE(Holds(html, "Two &lt;b&gt;"));
    EXPECT_TRUE(Holds(html, "broken &amp; &quot;odd&quot;"));
    EXPECT_TRUE(Holds(html, "<td>&lt;1</td><td>?</td>"));
    EXPECT_FALSE(Holds(html, "<script"));
    EXPECT_FALSE(Holds(html, "http"));
}

TEST(Report, CarriesSmallRecordingsAndNamesLargeOnes) {
    ReportSection section("", "");
    section.AddRecording("small", "small.wav", std::vector<std::uint8_t>{'M', 'a', 'n', 'y'});
    section.AddRecording("large", "large.wav", std::vector<std::uint8_t>(1'000'000));
    const std::string html = section.Html(1);
    EXPECT_TRUE(Holds(html, "src=\"data:audio/wav;base64,TWFueQ==\""));
    EXPECT_TRUE(Holds(html, "src=\"large.wav\""));
}

TEST(Base64, EncodesTheVectorsOfRfc4648) {
    const std::pair<const char*, const char*> rows[] = {{"", ""},
                                                        {"f", "Zg=="},
                                                        {"fo", "Zm8="},
                                                        {"foo", "Zm9v"},
                                                        {"foob", "Zm9vYg=="},
                                                        {"fooba", "Zm9vYmE="},
                                                        {"foobar", "Zm9vYmFy"}};
    for (const auto& [plain, coded] : rows) {
        const std::string text(plain);
        EXPECT_EQ(Base64({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}), coded);
    }
}

TEST(Histogram, DrawsAnyValuesAndRanksThem) {
    Histogram empty("delay", "ms");
    EXPECT_EQ(empty.Percentile(0.5), 0);
    EXPECT_TRUE(Holds(empty.Svg(), "nothing measured"));

    Histogram histogram("delay", "ms");
    histogram.Add(0, "out", std::vector<double>{5, 1, 3});
    histogram.Add(1, "in", std::vector<double>{2, 4});
    EXPECT_EQ(histogram.Percentile(0), 1);
    EXPECT_EQ(histogram.Percentile(0.5), 3);
    EXPECT_EQ(histogram.Percentile(1), 5);
    EXPECT_TRUE(Holds(histogram.Svg(), "median 3.0 ms"));

    Histogram same("delay", "ms");
    same.Add(0, "out", std::vector<double>{-7, -7});
    EXPECT_TRUE(Holds(same.Svg(), "median -7.0 ms"));
}

TEST(PacketRatePlot, SpreadsPacketsOverTheTimeBetweenSamples) {
    PacketRatePlot plot;
    const PacketRatePlot::Sample samples[] = {{0, 0, 0}, {1, 50, 0}, {1.25, 50, 0}, {3.25, 50, 66}};
    plot.AddLeg("0 internal", samples);
    plot.AddLeg("never sampled", {});
    plot.AddStep("step", 0, 3);
    const std::string svg = plot.Svg();
    EXPECT_TRUE(Holds(svg, ">50/s<"));
    EXPECT_TRUE(Holds(svg, ">33/s<"));
    EXPECT_TRUE(Holds(svg, ">0/s<"));
}

}  // namespace
}  // namespace lab
