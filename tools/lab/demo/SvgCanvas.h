// A drawing as inline SVG text. Looks are left to the style sheet of the page: every element carries a class.
// Coordinates are pixels of a drawing that scales to the width of its column; the origin is at the top left.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lab {

class SvgCanvas {
 public:
    enum class Anchor { Start, Middle, End };
    using Points = std::vector<std::pair<double, double>>;

    // `label` is what a screen reader says instead of the picture.
    SvgCanvas(double width, double height, std::string_view label);

    void Line(double x1, double y1, double x2, double y2, std::string_view style);
    void Rect(double x, double y, double width, double height, std::string_view style);
    void Polygon(const Points& points, std::string_view style);
    void Polyline(const Points& points, std::string_view style);
    void Text(double x, double y, std::string_view text, std::string_view style,
              Anchor anchor = Anchor::Start);

    // The finished drawing.
    std::string Svg() const;

 private:
    void Path(std::string_view element, const Points& points, std::string_view style);

    std::string head;
    std::string body;
};

// A step of 1, 2 or 5 times a power of ten by which `range` is divided into at most `count` parts.
double NiceStep(double range, int count);
// The multiples of `step` from `first` to `last`, both included.
std::vector<double> Ticks(double first, double last, double step);

}  // namespace lab
