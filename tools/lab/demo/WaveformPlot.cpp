// Wave forms of recordings above one another on a common time axis.
#include "tools/lab/demo/WaveformPlot.h"

#include <algorithm>

#include "tools/lab/demo/SvgCanvas.h"
#include "tools/lab/demo/Text.h"

namespace lab {

namespace {

constexpr double Width = 900;
constexpr double TrackHeight = 74;
constexpr double TrackGap = 20;
constexpr double AxisHeight = 22;
constexpr size_t SamplesPerExtent = 80;
constexpr double ExtentsPerSecond = 100;

void DrawAxis(SvgCanvas& canvas, double seconds, double top, double bottom) {
    for (const double t : Ticks(0, seconds, NiceStep(seconds, 10))) {
        const double x = t / seconds * Width;
        canvas.Line(x, top, x, bottom, "grid");
        const auto anchor = t == 0           ? SvgCanvas::Anchor::Start
                            : x > Width - 12 ? SvgCanvas::Anchor::End
                                             : SvgCanvas::Anchor::Middle;
        canvas.Text(x, bottom + 15, Format("%g s", t), "tick", anchor);
    }
}

}  // namespace

void WaveformPlot::Add(std::string label, std::span<const std::int16_t> samples, Side side) {
    Track track{std::move(label), {}, side};
    for (size_t at = 0; at < samples.size(); at += SamplesPerExtent) {
        const auto part = samples.subspan(at, std::min(SamplesPerExtent, samples.size() - at));
        const auto [low, high] = std::minmax_element(part.begin(), part.end());
        track.extents.push_back({*low, *high});
    }
    tracks.push_back(std::move(track));
}

std::string WaveformPlot::Svg() const {
    size_t longest = 1;
    for (const Track& track : tracks) longest = std::max(longest, track.extents.size());
    const double bottom = static_cast<double>(tracks.size()) * (TrackHeight + TrackGap);
    SvgCanvas canvas(Width, bottom + AxisHeight, "Wave forms over time");
    DrawAxis(canvas, static_cast<double>(longest) / ExtentsPerSecond, 4, bottom);

    double top = 0;
    for (const Track& track : tracks) {
        const double middle = top + TrackGap + TrackHeight / 2;
        const double scale = TrackHeight / 2 / 32768.0;
        SvgCanvas::Points outline;
        const auto x = [&](size_t i) {
            return static_cast<double>(i) / static_cast<double>(longest) * Width;
        };
        for (size_t i = 0; i < track.extents.size(); ++i) {
            outline.emplace_back(x(i), middle - track.extents[i].high * scale - 0.4);
        }
        for (size_t i = track.extents.size(); i-- > 0;) {
            outline.emplace_back(x(i), middle - track.extents[i].low * scale + 0.4);
        }
        canvas.Polygon(outline, track.side == Side::In ? "wave in" : "wave out");
        canvas.Text(0, top + 13, track.label, track.side == Side::In ? "label in" : "label out");
        top += TrackHeight + TrackGap;
    }
    return canvas.Svg();
}

}  // namespace lab
