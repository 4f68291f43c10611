// A drawing as inline SVG text.
#include "tools/lab/demo/SvgCanvas.h"

#include <cmath>

#include "tools/lab/demo/Text.h"

namespace lab {

SvgCanvas::SvgCanvas(double width, double height, std::string_view label)
    : head(Format("<svg viewBox=\"0 0 %g %g\" role=\"img\" aria-label=\"%s\">\n", width, height,
                  EscapeHtml(label).c_str())) {}

void SvgCanvas::Line(double x1, double y1, double x2, double y2, std::string_view style) {
    body += Format("<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" class=\"%.*s\"/>\n", x1, y1, x2, y2,
                   static_cast<int>(style.size()), style.data());
}

void SvgCanvas::Rect(double x, double y, double width, double height, std::string_view style) {
    body += Format("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" class=\"%.*s\"/>\n", x, y,
                   width, height, static_cast<int>(style.size()), style.data());
}

void SvgCanvas::Path(std::string_view element, const Points& points, std::string_view style) {
    body += Format(R"(<%.*s class="%.*s" points=")", static_cast<int>(element.size()), element.data(),
                   static_cast<int>(style.size()), style.data());
    for (const auto& [x, y] : points) body += Format("%.1f,%.1f ", x, y);
    body += "\"/>\n";
}

void SvgCanvas::Polygon(const Points& points, std::string_view style) {
    Path("polygon", points, style);
}

void SvgCanvas::Polyline(const Points& points, std::string_view style) {
    Path("polyline", points, style);
}

void SvgCanvas::Text(double x, double y, std::string_view text, std::string_view style, Anchor anchor) {
    static constexpr const char* Anchors[] = {"start", "middle", "end"};
    body += Format("<text x=\"%.1f\" y=\"%.1f\" class=\"%.*s\" text-anchor=\"%s\">%s</text>\n", x, y,
                   static_cast<int>(style.size()), style.data(), Anchors[static_cast<int>(anchor)],
                   EscapeHtml(text).c_str());
}

std::string SvgCanvas::Svg() const {
    return head + body + "</svg>\n";
}

double NiceStep(double range, int count) {
    if (!(range > 0) || count < 1) return 1;
    const double unit = std::pow(10, std::floor(std::log10(range / count)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (range / (unit * factor) <= count) return unit * factor;
    }
    return unit * 10;
}

std::vector<double> Ticks(double first, double last, double step) {
    constexpr double Slack = 1e-9;  // a bound that is a multiple but for rounding counts
    std::vector<double> ticks;
    const auto from = static_cast<long>(std::ceil(first / step - Slack));
    const auto to = static_cast<long>(std::floor(last / step + Slack));
    for (long i = from; i <= to; ++i) ticks.push_back(static_cast<double>(i) * step);
    return ticks;
}

}  // namespace lab
