#include "host/geo/GU_SweptTriangle.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double BESIDE = 1e-10;   ///< how far beside the triangle counts, in sizes of the motion
constexpr double SHARP = 1e-12;    ///< what places known this well need no search around them, in sizes of the motion
constexpr double ROUNDING = 1e-14; ///< of the cubic's coefficients, in size * edge^2; ten times what can happen
constexpr double NO_AREA = 1e-13;  ///< in squares of the longest edge
constexpr int MOST_MOMENTS = 3 + 9 * 2 + 3;

struct Quadratic { // in Bernstein form over [0, 1]
    double c[3];
    double at(double x) const {
        const double y = 1 - x;
        return (c[0] * y + c[1] * x) * y + (c[1] * y + c[2] * x) * x;
    }
    // Roots strictly between low and high, ascending.
    int roots(double low, double high, double* out) const;
};

int Quadratic::roots(double low, double high, double* out) const {
    const double a = c[0] - 2 * c[1] + c[2], b = c[1] - c[0], disc = b * b - a * c[0];
    if (!(disc >= 0)) return 0;
    const double q = -(b + std::copysign(std::sqrt(disc), b)); // the root without cancellation first
    double found[2] = {q / a, c[0] / q};
    if (found[1] < found[0]) std::swap(found[0], found[1]);
    int count = 0;
    for (double x : found)
        if (x > low && x < high) out[count++] = x;
    return count;
}

struct Cubic { // in Bernstein form over [0, 1]
    double c[4];
    double at(double x) const {
        const double y = 1 - x;
        return ((c[0] * y + 3 * c[1] * x) * y + 3 * c[2] * x * x) * y + c[3] * x * x * x;
    }
    Quadratic slope() const { return {{3 * (c[1] - c[0]), 3 * (c[2] - c[1]), 3 * (c[3] - c[2])}}; }
};

/// Part of [0, 1] in which the cubic is 0 as far as rounding lets one see.
struct Band {
    double low, high, root;
};

class Sweep {
public:
    Sweep(const GU_SweptTriangle& triangle, double low, double high);
    bool isApart() const;
    int contacts(GU_SweptHit (&hits)[GU_MOST_SWEPT_HITS]);

private:
    UT_Vector3D corner(int k, double x) const { return myFrom[k] * (1 - x) + myTo[k] * x; }
    double moment(double x) const { return x < 1 ? myLow + (myHigh - myLow) * x : myHigh; }
    void setCubic();
    int bands(Band (&out)[4]) const;
    bool band(double low, double high, const Quadratic& slope, Band& out) const;
    double solve(double low, double high, double level, double sign, const Quadratic& slope) const;
    bool touches(double x, double (&b)[3]) const;
    int moments(const Band& band, double (&out)[MOST_MOMENTS]) const;
    void runs(const Band& band);
    void add(double x, const double (&b)[3]);

    UT_Vector3D myFrom[3], myTo[3]; ///< the corners at both ends of the part of interest
    double myLow, myHigh;           ///< which this is
    double mySize = 0;
    double mySharp = 0; ///< moments, as parts of it, known this well are known
    Cubic myCubic{};
    double myError = 0; ///< of the cubic
    GU_SweptHit* myHits = nullptr;
    int myCount = 0;
};

// Narrows the range to where the origin is within the triangle's extent along an axis on which all corners move the
// same way: what follows is as exact as the triangle is close.
void clip(const GU_SweptTriangle& t, double& low, double& high) {
    for (int k = 0; k < 3; ++k) {
        const double v[3] = {t.speed[0][k], t.speed[1][k], t.speed[2][k]};
        if (!(v[0] > 0 && v[1] > 0 && v[2] > 0) && !(v[0] < 0 && v[1] < 0 && v[2] < 0)) continue;
        const double p[3] = {t.at[0][k], t.at[1][k], t.at[2][k]};
        const double extent = std::max({p[0], p[1], p[2]}) - std::min({p[0], p[1], p[2]});
        const double pad = 1e-3 * extent + 1e-9 * std::max({std::fabs(p[0]), std::fabs(p[1]), std::fabs(p[2])});
        double first = HUGE_VAL, last = -HUGE_VAL;
        for (int i = 0; i < 3; ++i) {
            const double at = -p[i] / v[i], margin = pad / std::fabs(v[i]);
            first = std::min(first, at - margin);
            last = std::max(last, at + margin);
        }
        if (first > low) low = first;
        if (last < high) high = last;
    }
}

Sweep::Sweep(const GU_SweptTriangle& triangle, double low, double high)
    : myLow(low)
    , myHigh(high) {
    clip(triangle, myLow, myHigh);
    double travel = 0;
    if (!(myLow <= myHigh)) return;
    for (int i = 0; i < 3; ++i) {
        myFrom[i] = triangle.corner(i, myLow);
        myTo[i] = triangle.corner(i, myHigh);
        for (int k = 0; k < 3; ++k) {
            mySize = std::max({mySize, std::fabs(myFrom[i][k]), std::fabs(myTo[i][k])});
            travel = std::max(travel, std::fabs(myTo[i][k] - myFrom[i][k]));
        }
    }
    mySharp = std::min(1e-8, SHARP * mySize / travel);
}

bool Sweep::isApart() const {
    if (!(myLow <= myHigh) || !(mySize > 0) || !(mySize < 1e90)) return true;
    const double beside = BESIDE * mySize;
    for (int k = 0; k < 3; ++k) {
        const double low = std::min({myFrom[0][k], myFrom[1][k], myFrom[2][k], myTo[0][k], myTo[1][k], myTo[2][k]});
        const double high = std::max({myFrom[0][k], myFrom[1][k], myFrom[2][k], myTo[0][k], myTo[1][k], myTo[2][k]});
        if (low > beside || high < -beside) return true;
    }
    return false;
}

// dot(corner 0, normal) with the normal as long as twice the area.
void Sweep::setCubic() {
    const UT_Vector3D a1 = myFrom[1] - myFrom[0], a2 = myFrom[2] - myFrom[0], b1 = myTo[1] - myTo[0],
                      b2 = myTo[2] - myTo[0];
    const UT_Vector3D n0 = cross(a1, a2), n1 = (cross(a1, b2) + cross(b1, a2)) * 0.5, n2 = cross(b1, b2);
    const UT_Vector3D &a = myFrom[0], &b = myTo[0];
    myCubic = {{dot(a, n0), (2 * dot(a, n1) + dot(b, n0)) / 3, (dot(a, n2) + 2 * dot(b, n1)) / 3, dot(b, n2)}};
    const double edge2 = std::max({a1.length2(), a2.length2(), b1.length2(), b2.length2()});
    myError = ROUNDING * std::sqrt(std::max(a.length2(), b.length2())) * edge2;
}

// Where sign * cubic, which grows from low to high, reaches the level: Newton's method from where the chord does, with
// a halving where its step leaves the range or is not half of the one before (compare Press et al., "Numerical
// Recipes", 9.4).
double Sweep::solve(double low, double high, double level, double sign, const Quadratic& slope) const {
    constexpr double KNOWN = 2e-16;
    const double from = sign * myCubic.at(low) - level, to = sign * myCubic.at(high) - level;
    const double chord = low + (high - low) * (from / (from - to));
    double x = chord > low && chord < high ? chord : 0.5 * (low + high), last = high - low;
    for (int i = 0; i < 100; ++i) {
        const double f = sign * myCubic.at(x) - level;
        if (f == 0) return x;
        (f < 0 ? low : high) = x;
        if (!(high - low > KNOWN)) break;
        const double step = f / (sign * slope.at(x)), next = x - step;
        if (std::fabs(step) <= KNOWN) return std::clamp(next, low, high);
        const bool tame = next > low && next < high && std::fabs(step) < 0.5 * last;
        last = tame ? std::fabs(step) : 0.5 * (high - low);
        x = tame ? next : 0.5 * (low + high);
    }
    return 0.5 * (low + high);
}

bool Sweep::band(double low, double high, const Quadratic& slope, Band& out) const {
    const double from = myCubic.at(low), to = myCubic.at(high), sign = from <= to ? 1 : -1;
    const double first = sign * from, last = sign * to;
    if (first > myError || last < -myError) return false;
    const double root = first >= 0 ? low : last <= 0 ? high : solve(low, high, 0, sign, slope);
    const double steepness = sign * slope.at(root);
    if (first < -myError && last > myError && myError < mySharp * steepness) {
        out = {root, root, root};
        return true;
    }
    out.low = first >= -myError ? low : solve(low, root, -myError, sign, slope);
    out.high = last <= myError ? high : solve(root, high, myError, sign, slope);
    out.root = root;
    return true;
}

int Sweep::bands(Band (&out)[4]) const {
    const Quadratic slope = myCubic.slope();
    double knots[4] = {0};
    int count = slope.roots(0, 1, knots + 1);
    knots[++count] = 1;
    int found = 0;
    for (int i = 0; i < count; ++i) {
        Band next;
        if (!band(knots[i], knots[i + 1], slope, next)) continue;
        if (found && next.low <= out[found - 1].high)
            out[found - 1].high = next.high;
        else
            out[found++] = next;
    }
    return found;
}

// Whether the origin, which is in the plane at x, is in the triangle.
bool Sweep::touches(double x, double (&b)[3]) const {
    const UT_Vector3D p[3] = {corner(0, x), corner(1, x), corner(2, x)};
    const UT_Vector3D edge[3] = {p[2] - p[1], p[0] - p[2], p[1] - p[0]}, normal = cross(edge[2], -edge[1]);
    const double area = normal.length();
    const double edge2 = std::max({edge[0].length2(), edge[1].length2(), edge[2].length2()});
    if (!(area > NO_AREA * edge2)) return false;
    const double beside = BESIDE * mySize, off = beside + std::min(1e-7 * mySize, 2 * myError / area);
    double sum = 0;
    for (int k = 0; k < 3; ++k) {
        if (std::min({p[0][k], p[1][k], p[2][k]}) > off || std::max({p[0][k], p[1][k], p[2][k]}) < -off) return false;
        b[k] = dot(normal, cross(p[(k + 1) % 3], p[(k + 2) % 3]));
        if (b[k] < -beside * area * edge[k].length()) return false;
        b[k] = std::max(b[k], 0.0);
        sum += b[k];
    }
    for (double& weight : b) weight /= sum;
    return sum > 0;
}

void Sweep::add(double x, const double (&b)[3]) {
    if (myCount == GU_MOST_SWEPT_HITS) return;
    myHits[myCount++] = {moment(x), moment(x), 1e-10 * (myHigh - myLow), {b[0], b[1], b[2]}};
}

// Ends of the band and what may begin or end a contact within: the origin passing an edge or coming to a corner.
int Sweep::moments(const Band& band, double (&out)[MOST_MOMENTS]) const {
    int count = 0;
    out[count++] = band.low;
    if (band.root > band.low) out[count++] = band.root;
    if (band.high > band.low) out[count++] = band.high;
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3;
        const UT_Vector3D c0 = cross(myFrom[i], myFrom[j]), c2 = cross(myTo[i], myTo[j]);
        const UT_Vector3D c1 = (cross(myFrom[i], myTo[j]) + cross(myTo[i], myFrom[j])) * 0.5;
        for (int k = 0; k < 3; ++k) count += Quadratic{{c0[k], c1[k], c2[k]}}.roots(band.low, band.high, out + count);
        const UT_Vector3D way = myTo[i] - myFrom[i];
        const double x = -dot(myFrom[i], way) / way.length2();
        if (x > band.low && x < band.high) out[count++] = x;
    }
    std::sort(out, out + count);
    return count;
}

// Contacts that last, or whose moment is known only roughly: the first moment of each.
void Sweep::runs(const Band& band) {
    double x[MOST_MOMENTS], b[3];
    const int count = moments(band, x);
    bool touching = false;
    for (int i = 0; i < 2 * count - 1; ++i) {
        const double now = i & 1 ? 0.5 * (x[i / 2] + x[i / 2 + 1]) : x[i / 2];
        const bool was = touching;
        touching = touches(now, b);
        if (!touching) continue;
        if (!was) add(now, b);
        myHits[myCount - 1].until = moment(now);
    }
}

int Sweep::contacts(GU_SweptHit (&hits)[GU_MOST_SWEPT_HITS]) {
    myHits = hits;
    setCubic();
    const double* c = myCubic.c;
    if (std::min({c[0], c[1], c[2], c[3]}) > myError || std::max({c[0], c[1], c[2], c[3]}) < -myError) return 0;
    Band found[4];
    const int count = bands(found);
    double b[3];
    for (int i = 0; i < count; ++i) {
        if (found[i].high - found[i].low > 4 * mySharp)
            runs(found[i]);
        else if (touches(found[i].root, b))
            add(found[i].root, b);
    }
    return myCount;
}

} // namespace

int GUsweepTriangle(const GU_SweptTriangle& triangle, double low, double high,
                    GU_SweptHit (&hits)[GU_MOST_SWEPT_HITS]) {
    Sweep sweep(triangle, low, high);
    return sweep.isApart() ? 0 : sweep.contacts(hits);
}
