// Packets per second of every leg over the time of a run.
#include "tools/lab/demo/PacketRatePlot.h"

#include <algorithm>

#include "tools/lab/demo/SvgCanvas.h"
#include "tools/lab/demo/Text.h"

namespace lab {

namespace {

constexpr double Width = 900;
constexpr double Left = 190;
constexpr double Right = 860;
constexpr double Top = 46;
constexpr double RowHeight = 36;
constexpr double HalfRow = 15;
constexpr double Interval = 0.5;  // seconds

// Spreads the packets between two samples evenly over the intervals that lie between them.
void Spread(double from, double to, double packets, std::vector<double>& rates) {
    if (to <= from || packets <= 0) return;
    const double perSecond = packets / (to - from);
    while (from < to) {
        const auto index = static_cast<size_t>(from / Interval + 1e-9);
        const double end = std::min(to, static_cast<double>(index + 1) * Interval);
        if (index >= rates.size()) rates.resize(index + 1, 0);
        rates[index] += perSecond * (end - from) / Interval;
        from = end;
    }
}

double Highest(const std::vector<double>& rates) {
    return rates.empty() ? 0 : *std::max_element(rates.begin(), rates.end());
}

// An area of steps from the middle line; `scale` is pixels per packet and second, negative downwards.
SvgCanvas::Points Area(const std::vector<double>& rates, double middle, double scale, double perSecond) {
    SvgCanvas::Points points{{Left, middle}};
    for (size_t i = 0; i < rates.size(); ++i) {
        const double from = Left + static_cast<double>(i) * Interval * perSecond;
        points.emplace_back(from, middle - rates[i] * scale);
        points.emplace_back(from + Interval * perSecond, middle - rates[i] * scale);
    }
    points.emplace_back(points.back().first, middle);
    return points;
}

}  // namespace

void PacketRatePlot::AddLeg(std::string label, std::span<const Sample> samples) {
    Leg leg{std::move(label), {}, {}};
    for (size_t i = 1; i < samples.size(); ++i) {
        const Sample& before = samples[i - 1];
        const Sample& after = samples[i];
        Spread(before.seconds, after.seconds, static_cast<double>(after.sent - before.sent), leg.sent);
        Spread(before.seconds, after.seconds, static_cast<double>(after.received - before.received),
               leg.received);
    }
    legs.push_back(std::move(leg));
}

void PacketRatePlot::AddStep(std::string name, double from, double to) {
    steps.push_back({std::move(name), from, to});
}

// Seconds that the picture covers.
double PacketRatePlot::Length() const {
    double seconds = 1;
    for (const Step& step : steps) seconds = std::max(seconds, step.to);
    for (const Leg& leg : legs) {
        const size_t intervals = std::max(leg.sent.size(), leg.received.size());
        seconds = std::max(seconds, Interval * static_cast<double>(intervals));
    }
    return seconds;
}

void PacketRatePlot::DrawSteps(SvgCanvas& canvas, double perSecond, double bottom) const {
    for (size_t i = 0; i < steps.size(); ++i) {
        const double from = Left + steps[i].from * perSecond;
        const double width = (steps[i].to - steps[i].from) * perSecond;
        canvas.Rect(from, Top - 26, width, bottom - Top + 26, i % 2 ? "band odd" : "band");
        // A name that is wider than its band would run into the next one.
        if (width > 6.2 * static_cast<double>(steps[i].name.size())) {
            canvas.Text(from + width / 2, Top - 13, steps[i].name, "tick", SvgCanvas::Anchor::Middle);
        }
    }
}

void PacketRatePlot::DrawLegs(SvgCanvas& canvas, double perSecond) const {
    double most = 1;
    for (const Leg& leg : legs) most = std::max({most, Highest(leg.sent), Highest(leg.received)});
    double middle = Top + RowHeight / 2;
    for (const Leg& leg : legs) {
        canvas.Text(Left - 10, middle + 4, leg.label, "row", SvgCanvas::Anchor::End);
        canvas.Polygon(Area(leg.sent, middle, HalfRow / most, perSecond), "wave in");
        canvas.Polygon(Area(leg.received, middle, -HalfRow / most, perSecond), "wave out");
        canvas.Line(Left, middle, Right, middle, "axis");
        canvas.Text(Right + 5, middle - 5, Format("%.0f/s", Highest(leg.sent)), "tick in");
        canvas.Text(Right + 5, middle + 13, Format("%.0f/s", Highest(leg.received)), "tick out");
        middle += RowHeight;
    }
}

std::string PacketRatePlot::Svg() const {
    const double seconds = Length();
    const double perSecond = (Right - Left) / seconds;
    const double bottom = Top + static_cast<double>(legs.size()) * RowHeight;
    SvgCanvas canvas(Width, bottom + 24, "Packets per second of every leg over time");
    DrawSteps(canvas, perSecond, bottom);
    canvas.Text(0, Top - 24, "to the module", "label in");
    canvas.Text(0, Top - 8, "from the module", "label out");
    DrawLegs(canvas, perSecond);
    for (const double t : Ticks(0, seconds, NiceStep(seconds, 12))) {
        canvas.Text(Left + t * perSecond, bottom + 16, Format("%g s", t), "tick", SvgCanvas::Anchor::Middle);
    }
    return canvas.Svg();
}

}  // namespace lab
