// How often each value of a measured quantity occurred.
#include "tools/lab/demo/Histogram.h"

#include <algorithm>
#include <cmath>

#include "tools/lab/demo/Text.h"

namespace lab {

namespace {

constexpr double Width = 900;
constexpr double PlotTop = 44;
constexpr double PlotBottom = 200;
constexpr double Height = 242;
constexpr double Left = 46;
constexpr double LabelRow = 15;
constexpr int MostBins = 60;
constexpr const char* Bars[] = {"wave in", "wave out"};
constexpr const char* Labels[] = {"label in", "label out"};

double X(double value, double first, double range) {
    return Left + (value - first) / range * (Width - Left);
}

double Y(double count, double most) {
    return PlotBottom - count / most * (PlotBottom - PlotTop);
}

}  // namespace

Histogram::Histogram(std::string quantity, std::string unit)
    : quantity(std::move(quantity)), unit(std::move(unit)) {}

void Histogram::Add(size_t direction, std::string name, std::span<const double> more) {
    Series& one = series[direction % Directions];
    one.name = std::move(name);
    one.values.insert(one.values.end(), more.begin(), more.end());
    all.insert(all.end(), more.begin(), more.end());
    std::sort(all.begin(), all.end());
}

double Histogram::Percentile(double share) const {
    if (all.empty()) return 0;
    const auto rank = static_cast<size_t>(std::lround(share * static_cast<double>(all.size() - 1)));
    return all[std::min(rank, all.size() - 1)];
}

double Histogram::Bins::Highest() const {
    size_t most = 1;
    for (const auto& [first, second] : counts) most = std::max(most, first + second);
    return static_cast<double>(most);
}

Histogram::Bins Histogram::Count() const {
    const double width = NiceStep(std::max(1.0, all.back() - all.front()), MostBins);
    Bins bins{std::floor(all.front() / width) * width, width, {}};
    bins.counts.resize(bins.Index(all.back()) + 1);
    for (size_t direction = 0; direction < Directions; ++direction)
        for (const double value : series[direction].values) ++bins.counts[bins.Index(value)][direction];
    return bins;
}

void Histogram::DrawAxes(SvgCanvas& canvas, const Bins& bins) const {
    const double most = bins.Highest();
    const double countStep = std::max(1.0, NiceStep(most, 4));
    for (const double count : Ticks(0, most, countStep)) {
        canvas.Line(Left, Y(count, most), Width, Y(count, most), "grid");
        canvas.Text(Left - 8, Y(count, most) + 4, Format("%g", count), "tick", SvgCanvas::Anchor::End);
    }
    const double end = bins.first + bins.Range();
    for (const double v : Ticks(bins.first, end, NiceStep(bins.Range(), 12))) {
        canvas.Text(X(v, bins.first, bins.Range()), PlotBottom + 17, Format("%g", v), "tick",
                    SvgCanvas::Anchor::Middle);
    }
    canvas.Text((Left + Width) / 2, Height - 6, quantity + " [" + unit + "]", "tick",
                SvgCanvas::Anchor::Middle);
}

void Histogram::DrawMarks(SvgCanvas& canvas, const Bins& bins) const {
    double row = LabelRow;
    for (const auto& [share, name] : {std::pair{0.5, "median"}, std::pair{0.99, "99 % below"}}) {
        const double at = X(Percentile(share), bins.first, bins.Range());
        canvas.Line(at, row - 10, at, PlotBottom, "mark");
        const bool right = at < Width * 0.8;
        canvas.Text(at + (right ? 5 : -5), row, Format("%s %.1f %s", name, Percentile(share), unit.c_str()),
                    "marklabel", right ? SvgCanvas::Anchor::Start : SvgCanvas::Anchor::End);
        row += LabelRow;
    }
}

std::string Histogram::Svg() const {
    SvgCanvas canvas(Width, Height, "Histogram: " + quantity);
    if (all.empty()) {
        canvas.Text(Width / 2, Height / 2, "nothing measured", "tick", SvgCanvas::Anchor::Middle);
        return canvas.Svg();
    }
    const Bins bins = Count();
    DrawAxes(canvas, bins);
    for (size_t i = 0; i < bins.counts.size(); ++i) {
        const double from = X(bins.first + static_cast<double>(i) * bins.width, bins.first, bins.Range());
        const double to = X(bins.first + static_cast<double>(i + 1) * bins.width, bins.first, bins.Range());
        double below = 0;
        for (size_t direction = 0; direction < Directions; ++direction) {
            const double above = below + static_cast<double>(bins.counts[i][direction]);
            const double top = Y(above, bins.Highest());
            if (above > below) {
                canvas.Rect(from + 0.5, top, to - from - 1, Y(below, bins.Highest()) - top, Bars[direction]);
            }
            below = above;
        }
    }
    DrawMarks(canvas, bins);
    for (size_t direction = 0; direction < Directions; ++direction) {
        const double row = LabelRow * static_cast<double>(direction + 1);
        canvas.Text(0, row, series[direction].name, Labels[direction]);
    }
    return canvas.Svg();
}

}  // namespace lab
