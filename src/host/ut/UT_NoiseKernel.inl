// Included by UT_Noise.cpp once per instruction set, with UT_NOISE_SPACE (a namespace), UT_NOISE_LANES (floats in a
// register) and UT_NOISE_TARGET (attribute of every function) defined; so it has no include guard.
//
// Each field is written twice from the same pieces: with the lattice corners of one point side by side in the lanes,
// and with points side by side. All operations are plain IEEE ones and the sums are in the same order, so both give the
// same bits, whatever the lanes.
#define UT_NOISE_FN inline __attribute__((always_inline, UT_NOISE_TARGET))
#define UT_NOISE_ENTRY static __attribute__((UT_NOISE_TARGET))

namespace UT_NOISE_SPACE {

constexpr int LANES = UT_NOISE_LANES;          // points side by side
constexpr int CORNERS = LANES < 8 ? LANES : 8; // corners side by side: a cell has eight
typedef float F4 __attribute__((vector_size(16)));
typedef uint32_t U4 __attribute__((vector_size(16)));
typedef int32_t I4 __attribute__((vector_size(16)));

template <class V> struct Ints; ///< the integer vectors of as many lanes as V
template <> struct Ints<F4> {
    using Signed = I4;
    using Unsigned = U4;
};
template <class V> using SignedOf = typename Ints<V>::Signed;
template <class V> using UnsignedOf = typename Ints<V>::Unsigned;

#define UT_NOISE_VECTORS(N)                                                                                            \
    typedef float F##N __attribute__((vector_size(4 * N)));                                                            \
    typedef uint32_t U##N __attribute__((vector_size(4 * N)));                                                         \
    typedef int32_t I##N __attribute__((vector_size(4 * N)));                                                          \
    template <> struct Ints<F##N> {                                                                                    \
        using Signed = I##N;                                                                                           \
        using Unsigned = U##N;                                                                                         \
    };
#if UT_NOISE_LANES == 4
using F = F4;
using Corners = F4;
#elif UT_NOISE_LANES == 8
UT_NOISE_VECTORS(8)
using F = F8;
using Corners = F8;
#else
UT_NOISE_VECTORS(8)
UT_NOISE_VECTORS(16)
using F = F16;
using Corners = F8;
#endif
#undef UT_NOISE_VECTORS
using U = UnsignedOf<F>;
using I = SignedOf<F>;

template <class V> UT_NOISE_FN V splat(float v) {
    return v - V{}; // subtracting keeps -0
}
template <class V> UT_NOISE_FN V load(const void* p) {
    V v;
    __builtin_memcpy(&v, p, sizeof v);
    return v;
}
template <class V> UT_NOISE_FN V lower(V a, V b) { return a < b ? a : b; }
template <class V> UT_NOISE_FN V higher(V a, V b) { return a > b ? a : b; }
template <class V> UT_NOISE_FN SignedOf<V> whole(V x) { return __builtin_convertvector(x, SignedOf<V>); }
template <class V> UT_NOISE_FN V floorOf(V x) {
    const V t = __builtin_convertvector(whole(x), V);
    return t > x ? t - 1.0f : t;
}
template <class V> UT_NOISE_FN V fade(V t) { return t * t * t * (t * (t * 6.0f - 15.0f) + 10.0f); }
template <class V> UT_NOISE_FN V finite(V x) {
    const V magnitude = (V)((UnsignedOf<V>)x & 0x7fffffffu);
    return magnitude <= splat<V>(FLT_MAX) ? x : V{};
}
template <class V> UT_NOISE_FN V bounded(V x) { return higher(lower(x, splat<V>(FARTHEST)), splat<V>(-FARTHEST)); }
/// Mixes all bits into all bits ("lowbias32" of Wellons' hash prospector, 2018).
template <class W> UT_NOISE_FN W mixed(W h) {
    h ^= h >> 16;
    h *= 0x7feb352du;
    h ^= h >> 15;
    h *= 0x846ca68bu;
    return h ^ (h >> 16);
}

/// Dot product with a gradient that channel C's bits pick: one of the twelve cube edges, evenly. An edge leaves out one
/// axis: the first comparison x, the second z, neither y.
template <int C, class V> UT_NOISE_FN V slope(UnsignedOf<V> h, V x, V y, V z) {
    using W = UnsignedOf<V>;
    constexpr int32_t third = 715827883; // -third to third is a third of all 32-bit numbers
    const W bits = h << (10 * C);
    const SignedOf<V> pick = (SignedOf<V>)bits;
    const V a = pick < -third ? y : x, b = pick >= third ? y : z;
    return (V)((W)a ^ (bits << 8 & 0x80000000u)) + (V)((W)b ^ (bits << 9 & 0x80000000u));
}
/// The ten bits of channel C as a number in [-1, 1].
template <int C, class V> UT_NOISE_FN V level(UnsignedOf<V> h) {
    return __builtin_convertvector((SignedOf<V>)(h >> (10 * C) & 1023u), V) * (2.0f / 1023) - 1.0f;
}
template <UT_Noise::Type T, int C, class V> UT_NOISE_FN V cornerValue(UnsignedOf<V> h, V x, V y, V z) {
    if constexpr (T == UT_Noise::VALUE)
        return level<C, V>(h);
    else
        return slope<C>(h, x, y, z);
}

template <class V> UT_NOISE_FN F4 halves(V v) {
    if constexpr (sizeof(V) == sizeof(F4))
        return v;
    else
        return __builtin_shufflevector(v, v, 0, 1, 2, 3) + __builtin_shufflevector(v, v, 4, 5, 6, 7);
}
UT_NOISE_FN float crossSum(F4 v) { return (v[0] + v[2]) + (v[1] + v[3]); }
/// crossSum of three vectors in lanes 0 to 2.
UT_NOISE_FN F4 crossSums(F4 a, F4 b, F4 c) {
    const F4 ab = __builtin_shufflevector(a, b, 0, 1, 4, 5) + __builtin_shufflevector(a, b, 2, 3, 6, 7);
    const F4 cc = c + __builtin_shufflevector(c, c, 2, 3, 0, 1);
    return __builtin_shufflevector(ab, cc, 0, 2, 4, 4) + __builtin_shufflevector(ab, cc, 1, 3, 5, 5);
}

// ---- cubic lattice: gradient and value noise

struct CubeOffsets {
    alignas(32) float at[3][8];
    alignas(32) uint32_t hash[3][8];
    alignas(32) int32_t mask[3][8];
};
constexpr CubeOffsets makeCubeOffsets() {
    CubeOffsets o{};
    for (int i = 0; i < 8; ++i)
        for (int a = 0; a < 3; ++a)
            if (i >> a & 1) o.at[a][i] = 1, o.hash[a][i] = LATTICE[a], o.mask[a][i] = -1;
    return o;
}
constexpr CubeOffsets theCube = makeCubeOffsets();

/// One point: corner i of its cell in lane i, bit 0 of i towards x, bit 1 y, bit 2 z.
template <UT_Noise::Type T, int CHANNELS> UT_NOISE_FN F4 cubeOne(F4 p, uint32_t key) {
    const F4 cell = floorOf(p), f = p - cell, u = fade(f), v = 1.0f - u;
    const U4 base = (U4)whole(cell) * U4{LATTICE[0], LATTICE[1], LATTICE[2], 0};
    F4 sum[3] = {};
    for (int g = 0; g < 8; g += CORNERS) {
        using W = UnsignedOf<Corners>;
        const W h = mixed<W>(((base[0] + load<W>(theCube.hash[0] + g)) ^ (base[1] + load<W>(theCube.hash[1] + g)) ^
                              (base[2] + load<W>(theCube.hash[2] + g))) +
                             key);
        Corners d[3], w[3];
        for (int a = 0; a < 3; ++a) {
            d[a] = f[a] - load<Corners>(theCube.at[a] + g);
            w[a] = load<SignedOf<Corners>>(theCube.mask[a] + g) ? splat<Corners>(u[a]) : splat<Corners>(v[a]);
        }
        const Corners weight = w[0] * w[1] * w[2];
        sum[0] += halves(weight * cornerValue<T, 0>(h, d[0], d[1], d[2]));
        if constexpr (CHANNELS == 3) {
            sum[1] += halves(weight * cornerValue<T, 1>(h, d[0], d[1], d[2]));
            sum[2] += halves(weight * cornerValue<T, 2>(h, d[0], d[1], d[2]));
        }
    }
    return CHANNELS == 3 ? crossSums(sum[0], sum[1], sum[2]) : F4{crossSum(sum[0])};
}

/// A point in each lane: weighted values of one corner.
template <UT_Noise::Type T, int CHANNELS>
UT_NOISE_FN void cubeCorner(int corner, const F* f, const F* u, const U* base, uint32_t key, F* out) {
    F d[3], w[3];
    U h = {};
    for (int a = 0; a < 3; ++a) {
        const bool far = corner >> a & 1;
        d[a] = far ? f[a] - 1.0f : f[a];
        w[a] = far ? u[a] : 1.0f - u[a];
        h ^= far ? base[a] + LATTICE[a] : base[a];
    }
    h = mixed<U>(h + key);
    const F weight = w[0] * w[1] * w[2];
    out[0] = weight * cornerValue<T, 0>(h, d[0], d[1], d[2]);
    if constexpr (CHANNELS == 3) {
        out[1] = weight * cornerValue<T, 1>(h, d[0], d[1], d[2]);
        out[2] = weight * cornerValue<T, 2>(h, d[0], d[1], d[2]);
    }
}
template <UT_Noise::Type T, int CHANNELS> UT_NOISE_FN void cubeMany(const F* p, uint32_t key, F* out) {
    F f[3], u[3];
    U base[3];
    for (int a = 0; a < 3; ++a) {
        const F cell = floorOf(p[a]);
        f[a] = p[a] - cell, u[a] = fade(f[a]), base[a] = (U)whole(cell) * LATTICE[a];
    }
    F pair[4][CHANNELS];
    for (int i = 0; i < 4; ++i) {
        F back[CHANNELS];
        cubeCorner<T, CHANNELS>(i, f, u, base, key, pair[i]);
        cubeCorner<T, CHANNELS>(i + 4, f, u, base, key, back);
        for (int c = 0; c < CHANNELS; ++c) pair[i][c] += back[c];
    }
    for (int c = 0; c < CHANNELS; ++c) out[c] = (pair[0][c] + pair[2][c]) + (pair[1][c] + pair[3][c]);
}

// ---- tetrahedral lattice

/// One corner's share, fading to zero, with two derivatives, before the next corner's region begins.
template <int C, class V> UT_NOISE_FN V bump(UnsignedOf<V> h, V x, V y, V z) {
    V q = 0.5f - (x * x + y * y + z * z);
    q = higher(q, V{});
    q *= q;
    return q * q * slope<C>(h, x, y, z) * SPARSE_SCALE;
}

template <int CHANNELS> UT_NOISE_FN F4 sparseOne(F4 p, uint32_t key) {
    const F4 cell = floorOf(p + (p[0] + p[1] + p[2]) * (1.0f / 3));
    const F4 d = p - (cell - (cell[0] + cell[1] + cell[2]) * (1.0f / 6));
    const U4 base = (U4)whole(cell) * U4{LATTICE[0], LATTICE[1], LATTICE[2], 0};
    const int xy = -(d[0] >= d[1]), yz = -(d[1] >= d[2]), xz = -(d[0] >= d[2]);
    // Masks of the axes that corners 0 to 3 have stepped along, the largest component first.
    const I4 stepped[3] = {{0, xy & xz, xy | xz, -1}, {0, ~xy & yz, ~xy | yz, -1}, {0, ~xz & ~yz, ~xz | ~yz, -1}};
    F4 o[3];
    U4 h = {};
    for (int a = 0; a < 3; ++a) {
        const F4 step = stepped[a] ? splat<F4>(1) : F4{};
        o[a] = (d[a] - step) + F4{0, UNSKEW, 2 * UNSKEW, 3 * UNSKEW};
        h ^= base[a] + ((U4)stepped[a] & LATTICE[a]);
    }
    h = mixed<U4>(h + key);
    const F4 first = bump<0>(h, o[0], o[1], o[2]);
    if constexpr (CHANNELS == 1)
        return F4{crossSum(first)};
    else
        return crossSums(first, bump<1>(h, o[0], o[1], o[2]), bump<2>(h, o[0], o[1], o[2]));
}

template <int CHANNELS> UT_NOISE_FN void sparseMany(const F* p, uint32_t key, F* out) {
    const F skew = (p[0] + p[1] + p[2]) * (1.0f / 3);
    F cell[3], d[3];
    for (int a = 0; a < 3; ++a) cell[a] = floorOf(p[a] + skew);
    const F unskew = (cell[0] + cell[1] + cell[2]) * (1.0f / 6);
    for (int a = 0; a < 3; ++a) d[a] = p[a] - (cell[a] - unskew);
    const I xy = d[0] >= d[1], yz = d[1] >= d[2], xz = d[0] >= d[2], none = {}, all = ~none;
    const I stepped[3][4] = {
        {none, xy & xz, xy | xz, all}, {none, ~xy & yz, ~xy | yz, all}, {none, ~xz & ~yz, ~xz | ~yz, all}};
    F value[4][CHANNELS];
    for (int i = 0; i < 4; ++i) {
        F o[3];
        U h = {};
        for (int a = 0; a < 3; ++a) {
            const F step = stepped[a][i] ? splat<F>(1) : F{};
            o[a] = (d[a] - step) + float(i) * UNSKEW;
            h ^= (U)whole(cell[a]) * LATTICE[a] + ((U)stepped[a][i] & LATTICE[a]);
        }
        h = mixed<U>(h + key);
        value[i][0] = bump<0>(h, o[0], o[1], o[2]);
        if constexpr (CHANNELS == 3) {
            value[i][1] = bump<1>(h, o[0], o[1], o[2]);
            value[i][2] = bump<2>(h, o[0], o[1], o[2]);
        }
    }
    for (int c = 0; c < CHANNELS; ++c) out[c] = (value[0][c] + value[2][c]) + (value[1][c] + value[3][c]);
}

// ---- cellular

/// The two strongest bumps so far, per channel; the lowest bit of a strength is the sign of its bump.
template <class V> struct Strongest {
    V first[3], second[3];

    UT_NOISE_FN void add(int c, V a, V b) {
        second[c] = higher(lower(first[c], a), higher(second[c], b));
        first[c] = higher(first[c], a);
    }
};

/// Bump of the cell whose hash is h and whose corner lies (x, y, z) from the point, into the first CHANNELS channels.
template <int CHANNELS, class V> UT_NOISE_FN void addBump(Strongest<V>& s, UnsignedOf<V> h, V x, V y, V z) {
    using W = UnsignedOf<V>;
    constexpr float unit = 1.0f / 1024;
    x += __builtin_convertvector((SignedOf<V>)(h & 1023u), V) * unit;
    y += __builtin_convertvector((SignedOf<V>)(h >> 10 & 1023u), V) * unit;
    z += __builtin_convertvector((SignedOf<V>)(h >> 20 & 1023u), V) * unit;
    V q = 1.0f - (x * x + y * y + z * z);
    q = higher(q, V{});
    q *= q;
    const W more = mixed<W>(h + 0x9e3779b9u);
    for (int c = 0; c < CHANNELS; ++c) {
        const W bits = more >> (10 * c);
        const V strength = q * (__builtin_convertvector((SignedOf<V>)(bits & 511u), V) * (0.75f / 511) + 0.25f);
        s.add(c, (V)(((W)strength & ~1u) | (bits >> 9 & 1u)), V{});
    }
}
UT_NOISE_FN float signedDifference(float first, float second) {
    const uint32_t sign = __builtin_bit_cast(uint32_t, first) << 31;
    return __builtin_bit_cast(float, __builtin_bit_cast(uint32_t, first - second) ^ sign);
}

constexpr int NEIGHBOURS = 27;
struct Neighbours {
    alignas(32) float at[3][32];
    alignas(32) uint32_t hash[3][32];
};
constexpr Neighbours makeNeighbours() {
    Neighbours n{};
    for (int i = 0; i < 32; ++i) {
        const int step[3] = {i % 3 - 1, i / 3 % 3 - 1, i / 9 - 1};
        for (int a = 0; a < 3; ++a) {
            // Lanes past the last neighbour look at a cell out of reach.
            n.at[a][i] = i < NEIGHBOURS ? float(step[a]) : 8.0f;
            n.hash[a][i] = uint32_t(step[a]) * LATTICE[a];
        }
    }
    return n;
}
constexpr Neighbours theNeighbours = makeNeighbours();

template <int CHANNELS> UT_NOISE_FN F4 cellularOne(F4 p, uint32_t key) {
    const F4 cell = floorOf(p), f = p - cell;
    const U4 base = (U4)whole(cell) * U4{LATTICE[0], LATTICE[1], LATTICE[2], 0};
    Strongest<Corners> all = {};
    for (int g = 0; g < NEIGHBOURS; g += CORNERS) {
        using W = UnsignedOf<Corners>;
        const W h = ((base[0] + load<W>(theNeighbours.hash[0] + g)) ^ (base[1] + load<W>(theNeighbours.hash[1] + g)) ^
                     (base[2] + load<W>(theNeighbours.hash[2] + g)));
        addBump<CHANNELS>(all, mixed<W>(h + key), load<Corners>(theNeighbours.at[0] + g) - f[0],
                          load<Corners>(theNeighbours.at[1] + g) - f[1], load<Corners>(theNeighbours.at[2] + g) - f[2]);
    }
    F4 out = {};
    for (int c = 0; c < CHANNELS; ++c) {
        Strongest<F4> s = {};
        for (int g = 0; g < CORNERS; g += 4)
            s.add(c, load<F4>((const char*)&all.first[c] + 4 * g), load<F4>((const char*)&all.second[c] + 4 * g));
        s.add(c, __builtin_shufflevector(s.first[c], s.first[c], 2, 3, 0, 1),
              __builtin_shufflevector(s.second[c], s.second[c], 2, 3, 0, 1));
        // Lanes 2 and 3 hold the same as 0 and 1 now.
        const float a = s.first[c][0], b = s.first[c][1];
        const float weaker = a < b ? a : b, rest = s.second[c][0] > s.second[c][1] ? s.second[c][0] : s.second[c][1];
        out[c] = signedDifference(a > b ? a : b, weaker > rest ? weaker : rest);
    }
    return out;
}

template <int CHANNELS> UT_NOISE_FN void cellularMany(const F* p, uint32_t key, F* out) {
    F f[3];
    U base[3];
    for (int a = 0; a < 3; ++a) {
        const F cell = floorOf(p[a]);
        f[a] = p[a] - cell, base[a] = (U)whole(cell) * LATTICE[a];
    }
    Strongest<F> s = {};
    for (int i = 0; i < NEIGHBOURS; ++i) {
        U h = {};
        F o[3];
        for (int a = 0; a < 3; ++a) o[a] = theNeighbours.at[a][i] - f[a], h ^= base[a] + theNeighbours.hash[a][i];
        addBump<CHANNELS>(s, mixed<U>(h + key), o[0], o[1], o[2]);
    }
    for (int c = 0; c < CHANNELS; ++c) out[c] = (F)((U)(s.first[c] - s.second[c]) ^ ((U)s.first[c] << 31));
}

// ---- octaves

template <UT_Noise::Type T, int CHANNELS> UT_NOISE_FN F4 octaveOne(F4 p, uint32_t key) {
    if constexpr (T == UT_Noise::SPARSE)
        return sparseOne<CHANNELS>(p, key);
    else if constexpr (T == UT_Noise::CELLULAR)
        return cellularOne<CHANNELS>(p, key);
    else
        return cubeOne<T, CHANNELS>(p, key);
}
template <UT_Noise::Type T, int CHANNELS> UT_NOISE_FN void octaveMany(const F* p, uint32_t key, F* out) {
    if constexpr (T == UT_Noise::SPARSE)
        sparseMany<CHANNELS>(p, key, out);
    else if constexpr (T == UT_Noise::CELLULAR)
        cellularMany<CHANNELS>(p, key, out);
    else
        cubeMany<T, CHANNELS>(p, key, out);
}

/// Octaves for the points [at, at + LANES).
template <UT_Noise::Type T, int CHANNELS>
UT_NOISE_FN void sumLanes(const Octaves& s, const float* x, const float* y, const float* z, F* sum) {
    F p[3] = {finite(load<F>(x)), finite(load<F>(y)), finite(load<F>(z))};
    float amplitude = 1;
    for (int a = 0; a < 3; ++a) p[a] += SHIFT[a];
    for (int c = 0; c < CHANNELS; ++c) sum[c] = F{};
    for (int k = 0; k < s.count; ++k, amplitude *= s.rough) {
        F value[CHANNELS];
        for (int a = 0; a < 3; ++a) p[a] = bounded(p[a]);
        octaveMany<T, CHANNELS>(p, octaveKey(s.seed, k), value);
        for (int c = 0; c < CHANNELS; ++c) sum[c] += amplitude * value[c];
        for (int a = 0; a < 3; ++a) p[a] = p[a] * 2.0f + SHIFT[a];
    }
}

/// Entry points: not inlined, so that their callers need no special instructions.
template <UT_Noise::Type T, int CHANNELS> UT_NOISE_ENTRY void sumOne(const Octaves& s, const float* at, float* out) {
    F4 p = finite(F4{at[0], at[1], at[2], 0});
    const F4 shift = {SHIFT[0], SHIFT[1], SHIFT[2], 0};
    F4 sum = {};
    float amplitude = 1;
    p += shift;
    for (int k = 0; k < s.count; ++k, amplitude *= s.rough) {
        p = bounded(p);
        sum += amplitude * octaveOne<T, CHANNELS>(p, octaveKey(s.seed, k));
        p = p * 2.0f + shift;
    }
    for (int c = 0; c < CHANNELS; ++c) out[c] = sum[c];
}

template <UT_Noise::Type T, int CHANNELS>
UT_NOISE_ENTRY void sumMany(const Octaves& s, const float* const* in, int n, float* const* out) {
    F sum[CHANNELS];
    int i = 0;
    for (; i + LANES <= n; i += LANES) {
        sumLanes<T, CHANNELS>(s, in[0] + i, in[1] + i, in[2] + i, sum);
        for (int c = 0; c < CHANNELS; ++c) __builtin_memcpy(out[c] + i, &sum[c], sizeof(F));
    }
    if (i == n) return;
    float tail[3][LANES] = {};
    const size_t bytes = size_t(n - i) * sizeof(float);
    for (int a = 0; a < 3; ++a) __builtin_memcpy(tail[a], in[a] + i, bytes);
    sumLanes<T, CHANNELS>(s, tail[0], tail[1], tail[2], sum);
    for (int c = 0; c < CHANNELS; ++c) __builtin_memcpy(out[c] + i, &sum[c], bytes);
}

template <UT_Noise::Type T>
constexpr TypeKernels kernelsOf = {{sumOne<T, 1>, sumOne<T, 3>}, {sumMany<T, 1>, sumMany<T, 3>}};
constexpr Kernels theKernels = {kernelsOf<UT_Noise::GRADIENT>, kernelsOf<UT_Noise::SPARSE>, kernelsOf<UT_Noise::VALUE>,
                                kernelsOf<UT_Noise::CELLULAR>};

} // namespace UT_NOISE_SPACE
#undef UT_NOISE_FN
#undef UT_NOISE_ENTRY
