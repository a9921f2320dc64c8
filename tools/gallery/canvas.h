// A picture to draw charts on: display-encoded RGB, 0 ... 1, drawn with soft edges, written as PNG or JPEG by its name.
#pragma once

#include <array>
#include <string>
#include <vector>

namespace gallery {

using Color = std::array<float, 3>;
struct Point {
    double x, y;
};

constexpr Color INK = {0.88f, 0.88f, 0.88f}, FAINT = {0.30f, 0.30f, 0.30f}, PAPER = {0.11f, 0.11f, 0.11f};

enum class Align { Left, Center, Right };

class Canvas {
public:
    Canvas(int width, int height, Color background = PAPER);

    int width() const { return width_; }
    int height() const { return height_; }

    void set(int x, int y, const Color& color);
    void fill(int x0, int y0, int x1, int y1, const Color& color); // x1, y1 exclusive
    void line(Point from, Point to, const Color& color, double thickness = 1.2);
    void path(const std::vector<Point>& points, const Color& color, double thickness = 1.5);
    void disc(Point center, double radius, const Color& color);
    void ring(Point center, double radius, const Color& color, double thickness = 1.0);
    void arrow(Point from, Point to, const Color& color);
    // y is the base line.
    void text(double x, double y, const std::string& words, const Color& color = INK, int size = 12,
              Align align = Align::Left);

    // Throws std::runtime_error with the file's name if it cannot be written.
    void write(const std::string& path) const;

private:
    void blend(int x, int y, const Color& color, double coverage);
    template <class Distance>
    void stroke(Point low, Point high, double reach, const Color& color, Distance&& distance);

    int width_, height_;
    std::vector<float> pixels_;
};

// A rectangle of a canvas with axes: data to pixels, ticks, grid, title.
class Chart {
public:
    struct Axis {
        double from, to, tick;
        std::string name;
    };
    Chart(Canvas& canvas, Point topLeft, Point bottomRight, const Axis& x, const Axis& y, const std::string& title);

    Point at(double x, double y) const;
    void curve(const std::vector<Point>& data, const Color& color, double thickness = 1.5) const;
    Canvas& canvas() const { return canvas_; }

private:
    Canvas& canvas_;
    Point topLeft_, bottomRight_;
    Axis x_, y_;
};

} // namespace gallery
