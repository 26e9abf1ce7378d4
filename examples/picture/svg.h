// What the pictures drawn as SVG have in common: shapes in the units of the figures, x to the right and y down.
#pragma once

#include <fstream>
#include <string>
#include <vector>
#include <zelk_core/zelk_core.h>

class Svg {
public:
    /// `width` and `height` count pixels.
    Svg(const char* path, float width, float height, float pixelsPerUnit)
        : m_file(path, std::ios::binary), m_pixelsPerUnit(pixelsPerUnit) {
        Write("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %.0f %.0f\" font-family=\"sans-serif\">\n",
              width, height);
        Write("<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n");
    }

    void Polygon(const std::vector<Z4::VectorSIMD4f>& corners, const char* fill, const char* opacity,
                 const char* stroke, int width) {
        std::string points;
        for (const Z4::VectorSIMD4f& corner : corners) {
            char text[64];
            Z4::StrFormat::Print(text, sizeof(text), "%.2f,%.2f ", Pixels(corner[0]), Pixels(corner[1]));
            points += text;
        }
        Write("<polygon points=\"%s\" fill=\"%s\" fill-opacity=\"%s\" stroke=\"%s\" stroke-width=\"%d\"/>\n",
              points.c_str(), fill, opacity, stroke, width);
    }
    void Line(float x0, float y0, float x1, float y1, const char* color, int width) {
        Write("<line x1=\"%.2f\" y1=\"%.2f\" x2=\"%.2f\" y2=\"%.2f\" stroke=\"%s\" stroke-width=\"%d\"/>\n", Pixels(x0),
              Pixels(y0), Pixels(x1), Pixels(y1), color, width);
    }
    void Dot(const Z4::VectorSIMD4f& p, float radius, const char* color) {
        Write("<circle cx=\"%.2f\" cy=\"%.2f\" r=\"%.1f\" fill=\"%s\"/>\n", Pixels(p[0]), Pixels(p[1]), radius, color);
    }
    void Number(const Z4::VectorSIMD4f& p, float value) {
        Write("<text x=\"%.2f\" y=\"%.2f\" font-size=\"14\" stroke=\"white\" stroke-width=\"3\" "
              "paint-order=\"stroke\">%.2f</text>\n",
              Pixels(p[0]) + 6, Pixels(p[1]) - 6, value);
    }
    /// Line `line` of the text below what ends at `y`.
    void Legend(float y, int line, const char* text) {
        Write("<text x=\"10\" y=\"%.0f\" font-size=\"15\">%s</text>\n", Pixels(y) + static_cast<float>(20 * (line + 1)),
              text);
    }
    template <class... Arguments>
    void Write(Z4::FormatString<Arguments...> format, Arguments... arguments) {
        char text[1024];
        Z4::StrFormat::Print(text, sizeof(text), format, arguments...);
        m_file << text;
    }
    /// @return whether all of it is on the disk.
    bool Finish() {
        Write("</svg>\n");
        m_file.close();
        return !m_file.fail();
    }

private:
    float Pixels(float units) const { return units * m_pixelsPerUnit; }

    std::ofstream m_file;
    float m_pixelsPerUnit;
};
