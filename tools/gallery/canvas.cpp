#include "tools/gallery/canvas.h"

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace gallery {
namespace {

constexpr const char* FONT = "DejaVuSans";

double distanceToSegment(Point p, Point a, Point b) {
    const double dx = b.x - a.x, dy = b.y - a.y, length2 = dx * dx + dy * dy;
    const double t = length2 > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / length2, 0.0, 1.0) : 0.0;
    return std::hypot(p.x - a.x - t * dx, p.y - a.y - t * dy);
}

std::string label(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", std::abs(value) < 1e-9 ? 0.0 : value);
    return text;
}

} // namespace

Canvas::Canvas(int width, int height, Color background)
    : width_(width), height_(height), pixels_(static_cast<std::size_t>(width) * height * 3) {
    fill(0, 0, width, height, background);
}

void Canvas::set(int x, int y, const Color& color) {
    blend(x, y, color, 1.0);
}

void Canvas::blend(int x, int y, const Color& color, double coverage) {
    if (x < 0 || y < 0 || x >= width_ || y >= height_) return;
    float* pixel = &pixels_[(static_cast<std::size_t>(y) * width_ + x) * 3];
    for (int c = 0; c < 3; ++c)
        pixel[c] += static_cast<float>(coverage) * (color[c] - pixel[c]);
}

void Canvas::fill(int x0, int y0, int x1, int y1, const Color& color) {
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x)
            set(x, y, color);
}

// Blends the color where distance(pixel) is below reach, half a pixel soft.
template <class Distance>
void Canvas::stroke(Point low, Point high, double reach, const Color& color, Distance&& distance) {
    const int x0 = static_cast<int>(std::floor(low.x - reach - 1)),
              x1 = static_cast<int>(std::ceil(high.x + reach + 1));
    const int y0 = static_cast<int>(std::floor(low.y - reach - 1)),
              y1 = static_cast<int>(std::ceil(high.y + reach + 1));
    for (int y = y0; y <= y1; ++y)
        for (int x = x0; x <= x1; ++x) {
            const double cover = reach + 0.5 - distance(Point{static_cast<double>(x), static_cast<double>(y)});
            if (cover > 0) blend(x, y, color, std::min(cover, 1.0));
        }
}

void Canvas::line(Point a, Point b, const Color& color, double thickness) {
    stroke({std::min(a.x, b.x), std::min(a.y, b.y)}, {std::max(a.x, b.x), std::max(a.y, b.y)}, thickness / 2, color,
           [&](Point p) { return distanceToSegment(p, a, b); });
}

void Canvas::path(const std::vector<Point>& points, const Color& color, double thickness) {
    for (std::size_t i = 1; i < points.size(); ++i)
        line(points[i - 1], points[i], color, thickness);
}

void Canvas::disc(Point center, double radius, const Color& color) {
    stroke(center, center, radius, color, [&](Point p) { return std::hypot(p.x - center.x, p.y - center.y); });
}

void Canvas::ring(Point center, double radius, const Color& color, double thickness) {
    const Point low = {center.x - radius, center.y - radius}, high = {center.x + radius, center.y + radius};
    stroke(low, high, thickness / 2, color,
           [&](Point p) { return std::abs(std::hypot(p.x - center.x, p.y - center.y) - radius); });
}

void Canvas::arrow(Point from, Point to, const Color& color) {
    line(from, to, color);
    disc(to, 2.5, color);
}

void Canvas::text(double x, double y, const std::string& words, const Color& color, int size, Align align) {
    OIIO::ImageSpec spec(width_, height_, 3, OIIO::TypeDesc::FLOAT);
    OIIO::ImageBuf image(spec, pixels_.data());
    using OIIO::ImageBufAlgo::TextAlignX;
    const TextAlignX where = align == Align::Left    ? TextAlignX::Left
                             : align == Align::Right ? TextAlignX::Right
                                                     : TextAlignX::Center;
    const float ink[4] = {color[0], color[1], color[2], 1.f};
    if (!OIIO::ImageBufAlgo::render_text(image, static_cast<int>(std::lround(x)), static_cast<int>(std::lround(y)),
                                         words, size, FONT, OIIO::cspan<float>(ink, 4), where))
        throw std::runtime_error("cannot draw text (package fonts-dejavu-core): " + image.geterror());
}

void Canvas::write(const std::string& path) const {
    OIIO::ImageSpec spec(width_, height_, 3, OIIO::TypeDesc::UINT8);
    spec.attribute("png:compressionLevel", 9);
    spec.attribute("Compression", path.ends_with(".jpg") ? "jpeg:88" : "zip");
    OIIO::ImageBuf bytes(spec);
    std::vector<float> clipped(pixels_);
    for (float& v : clipped)
        v = std::clamp(v, 0.f, 1.f);
    if (!bytes.set_pixels(OIIO::ROI::All(), OIIO::TypeDesc::FLOAT, clipped.data()) || !bytes.write(path))
        throw std::runtime_error("cannot write '" + path + "': " + bytes.geterror());
}

Chart::Chart(Canvas& canvas, Point topLeft, Point bottomRight, const Axis& x, const Axis& y, const std::string& title)
    : canvas_(canvas), topLeft_(topLeft), bottomRight_(bottomRight), x_(x), y_(y) {
    for (double v = x.from; v <= x.to + 1e-9; v += x.tick) {
        canvas.line(at(v, y.from), at(v, y.to), FAINT, std::abs(v) < 1e-9 ? 1.4 : 0.6);
        canvas.text(at(v, 0).x, bottomRight.y + 15, label(v), INK, 11, Align::Center);
    }
    for (double v = y.from; v <= y.to + 1e-9; v += y.tick) {
        canvas.line(at(x.from, v), at(x.to, v), FAINT, std::abs(v) < 1e-9 ? 1.4 : 0.6);
        canvas.text(topLeft.x - 6, at(0, v).y + 4, label(v), INK, 11, Align::Right);
    }
    canvas.text(topLeft.x, topLeft.y - 8, title, INK, 13);
    canvas.text(bottomRight.x, bottomRight.y + 30, x.name, INK, 11, Align::Right);
    canvas.text(bottomRight.x, topLeft.y - 8, y.name, INK, 11, Align::Right);
}

Point Chart::at(double x, double y) const {
    return {topLeft_.x + (x - x_.from) / (x_.to - x_.from) * (bottomRight_.x - topLeft_.x),
            bottomRight_.y + (y - y_.from) / (y_.to - y_.from) * (topLeft_.y - bottomRight_.y)};
}

// Points outside the axes are drawn on the frame, so that a curve that leaves is seen to leave.
void Chart::curve(const std::vector<Point>& data, const Color& color, double thickness) const {
    std::vector<Point> points;
    for (const Point& p : data)
        points.push_back(at(std::clamp(p.x, x_.from, x_.to), std::clamp(p.y, y_.from, y_.to)));
    canvas_.path(points, color, thickness);
}

} // namespace gallery
