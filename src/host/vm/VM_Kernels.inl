// Included by VM_Kernels.cpp once per instruction set, with VM_SPACE (a namespace), VM_TARGET (attributes of every
// function) and VM_WIDE (1 where a register holds four doubles) defined; so it has no include guard.

namespace VM_SPACE {

// What an operand is in a loop: the lane of a column, or a number.
#define VM_COLUMN_A pa[k]
#define VM_COLUMN_B pb[k]
#define VM_COLUMN_C pc[k]
#define VM_NUMBER_A na
#define VM_NUMBER_B nb
#define VM_NUMBER_C nc

#define VM_KERNEL_1(NAME, FORMULA)                                                                                     \
    VM_TARGET void NAME##_0(double* to, const VM_Operand* operands, int n) {                                           \
        const double* pa = operands[0].column;                                                                         \
        VM_LANE_LOOP for (int k = 0; k < n; ++k) {                                                                     \
            const double a = pa[k];                                                                                    \
            to[k] = FORMULA;                                                                                           \
        }                                                                                                              \
    }

#define VM_KERNEL_2_FORM(NAME, NUMBERS, A, B, FORMULA)                                                                 \
    VM_TARGET void NAME##_##NUMBERS(double* to, const VM_Operand* operands, int n) {                                   \
        [[maybe_unused]] const double *pa = operands[0].column, *pb = operands[1].column;                              \
        [[maybe_unused]] const double na = operands[0].number, nb = operands[1].number;                                \
        VM_LANE_LOOP for (int k = 0; k < n; ++k) {                                                                     \
            const double a = A, b = B;                                                                                 \
            to[k] = FORMULA;                                                                                           \
        }                                                                                                              \
    }
#define VM_KERNEL_2(NAME, FORMULA)                                                                                     \
    VM_KERNEL_2_FORM(NAME, 0, VM_COLUMN_A, VM_COLUMN_B, FORMULA)                                                       \
    VM_KERNEL_2_FORM(NAME, 1, VM_NUMBER_A, VM_COLUMN_B, FORMULA)                                                       \
    VM_KERNEL_2_FORM(NAME, 2, VM_COLUMN_A, VM_NUMBER_B, FORMULA)

#define VM_KERNEL_3_FORM(NAME, NUMBERS, A, B, C, FORMULA)                                                              \
    VM_TARGET void NAME##_##NUMBERS(double* to, const VM_Operand* operands, int n) {                                   \
        [[maybe_unused]] const double *pa = operands[0].column, *pb = operands[1].column, *pc = operands[2].column;    \
        [[maybe_unused]] const double na = operands[0].number, nb = operands[1].number, nc = operands[2].number;       \
        VM_LANE_LOOP for (int k = 0; k < n; ++k) {                                                                     \
            const double a = A, b = B, c = C;                                                                          \
            to[k] = FORMULA;                                                                                           \
        }                                                                                                              \
    }
#define VM_KERNEL_3(NAME, FORMULA)                                                                                     \
    VM_KERNEL_3_FORM(NAME, 0, VM_COLUMN_A, VM_COLUMN_B, VM_COLUMN_C, FORMULA)                                          \
    VM_KERNEL_3_FORM(NAME, 1, VM_NUMBER_A, VM_COLUMN_B, VM_COLUMN_C, FORMULA)                                          \
    VM_KERNEL_3_FORM(NAME, 2, VM_COLUMN_A, VM_NUMBER_B, VM_COLUMN_C, FORMULA)                                          \
    VM_KERNEL_3_FORM(NAME, 3, VM_NUMBER_A, VM_NUMBER_B, VM_COLUMN_C, FORMULA)                                          \
    VM_KERNEL_3_FORM(NAME, 4, VM_COLUMN_A, VM_COLUMN_B, VM_NUMBER_C, FORMULA)                                          \
    VM_KERNEL_3_FORM(NAME, 5, VM_NUMBER_A, VM_COLUMN_B, VM_NUMBER_C, FORMULA)                                          \
    VM_KERNEL_3_FORM(NAME, 6, VM_COLUMN_A, VM_NUMBER_B, VM_NUMBER_C, FORMULA)

VM_FORMULAS_1(VM_KERNEL_1)
VM_FORMULAS_2(VM_KERNEL_2)
VM_FORMULAS_3(VM_KERNEL_3)

VM_Forms formsOf(VM_Op op) {
    switch (op) {
#define VM_FORMS_1(NAME, FORMULA)                                                                                      \
    case VM_Op::NAME: return {NAME##_0};
#define VM_FORMS_2(NAME, FORMULA)                                                                                      \
    case VM_Op::NAME: return {NAME##_0, NAME##_1, NAME##_2};
#define VM_FORMS_3(NAME, FORMULA)                                                                                      \
    case VM_Op::NAME: return {NAME##_0, NAME##_1, NAME##_2, NAME##_3, NAME##_4, NAME##_5, NAME##_6};
        VM_FORMULAS_1(VM_FORMS_1)
        VM_FORMULAS_2(VM_FORMS_2)
        VM_FORMULAS_3(VM_FORMS_3)
    default: return {};
    }
}

#if defined(__x86_64__)

// ---- fields of four records at a time

VM_TARGET inline void store4(double* to, __m128 value) {
#if VM_WIDE
    _mm256_storeu_pd(to, _mm256_cvtps_pd(value));
#else
    _mm_storeu_pd(to, _mm_cvtps_pd(value));
    _mm_storeu_pd(to + 2, _mm_cvtps_pd(_mm_movehl_ps(value, value)));
#endif
}

template <bool FLOATS> VM_TARGET inline void convert4(const VM_Field& field, int at, __m128 value) {
    if (FLOATS || field.kind == VM_Field::Float) {
        store4(field.to + at, value);
        return;
    }
    const __m128i bits = _mm_castps_si128(value);
    if (field.kind == VM_Field::Int) {
        store4(field.to + at, _mm_cvtepi32_ps(bits));
        return;
    }
    const __m128i masked = _mm_and_si128(bits, _mm_set1_epi32(int(field.mask)));
    const __m128 unset = _mm_castsi128_ps(_mm_cmpeq_epi32(masked, _mm_setzero_si128()));
    store4(field.to + at, _mm_andnot_ps(unset, _mm_set1_ps(1.0f)));
}

// No more than is wanted: what is narrow seldom lies across cache lines.
template <int COUNT> VM_TARGET inline __m128 loadFields(const float* at) {
    if constexpr (COUNT == 1)
        return _mm_load_ss(at);
    else if constexpr (COUNT == 2)
        return _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(at)));
    else
        return _mm_loadu_ps(at);
}

// COUNT fields from the first on; with GAPS some of them may not be wanted.
template <int COUNT, bool FLOATS, bool GAPS, class Address>
VM_TARGET inline void fetch4(const Address& address, const VM_Field* fields, int at) {
    const __m128 r0 = loadFields<COUNT>(address(at)), r1 = loadFields<COUNT>(address(at + 1));
    const __m128 r2 = loadFields<COUNT>(address(at + 2)), r3 = loadFields<COUNT>(address(at + 3));
    const __m128 low01 = _mm_unpacklo_ps(r0, r1), low23 = _mm_unpacklo_ps(r2, r3);
    if (!GAPS || fields[0].to) convert4<FLOATS>(fields[0], at, _mm_movelh_ps(low01, low23));
    if constexpr (COUNT >= 2)
        if (!GAPS || fields[1].to) convert4<FLOATS>(fields[1], at, _mm_movehl_ps(low23, low01));
    if constexpr (COUNT >= 3) {
        const __m128 high01 = _mm_unpackhi_ps(r0, r1), high23 = _mm_unpackhi_ps(r2, r3);
        if (!GAPS || fields[2].to) convert4<FLOATS>(fields[2], at, _mm_movelh_ps(high01, high23));
        if constexpr (COUNT >= 4)
            if (!GAPS || fields[3].to) convert4<FLOATS>(fields[3], at, _mm_movehl_ps(high23, high01));
    }
}

struct InARow {
    const char* first;
    size_t stride;
    VM_TARGET const float* operator()(int k) const {
        return reinterpret_cast<const float*>(first + size_t(k) * stride);
    }
};
struct Scattered {
    const char* const* pointers;
    ptrdiff_t offset;
    VM_TARGET const float* operator()(int k) const { return reinterpret_cast<const float*>(pointers[k] + offset); }
};

template <int COUNT, bool FLOATS, bool GAPS, class Address>
VM_TARGET void fetchAll(const Address& address, const VM_Field* fields, int n) {
    const VM_Field local[4] = {fields[0], fields[1], fields[2], fields[3]}; // apart from what is written
    for (int k = 0; k + 4 <= n; k += 4) fetch4<COUNT, FLOATS, GAPS>(address, local, k);
}

template <class Address> VM_TARGET void fetchFrom(const Address& address, const VM_Field* fields, int n) {
    bool gaps = false, floats = true;
    int count = 0;
    for (int i = 4; i-- > 0;) {
        if (!fields[i].to) {
            gaps = gaps || count > 0;
            continue;
        }
        count = count > 0 ? count : i + 1;
        floats = floats && fields[i].kind == VM_Field::Float;
    }
    if (gaps) return fetchAll<4, false, true>(address, fields, n);
    switch (floats ? count : count + 4) {
    case 1: return fetchAll<1, true, false>(address, fields, n);
    case 2: return fetchAll<2, true, false>(address, fields, n);
    case 3: return fetchAll<3, true, false>(address, fields, n);
    case 4: return fetchAll<4, true, false>(address, fields, n);
    case 5: return fetchAll<1, false, false>(address, fields, n);
    case 6: return fetchAll<2, false, false>(address, fields, n);
    case 7: return fetchAll<3, false, false>(address, fields, n);
    default: return fetchAll<4, false, false>(address, fields, n);
    }
}

// Whole groups of four; returns how many records that was.
VM_TARGET int fetchGroups(const VM_Records& records, ptrdiff_t offset, const VM_Field* fields) {
    if (records.pointers)
        fetchFrom(Scattered{records.pointers, offset}, fields, records.count);
    else
        fetchFrom(InARow{records.first + offset, records.stride}, fields, records.count);
    return records.count & ~3;
}

#else

int fetchGroups(const VM_Records&, ptrdiff_t, const VM_Field*) { return 0; }

#endif

#undef VM_COLUMN_A
#undef VM_COLUMN_B
#undef VM_COLUMN_C
#undef VM_NUMBER_A
#undef VM_NUMBER_B
#undef VM_NUMBER_C
#undef VM_KERNEL_1
#undef VM_KERNEL_2_FORM
#undef VM_KERNEL_2
#undef VM_KERNEL_3_FORM
#undef VM_KERNEL_3
#undef VM_FORMS_1
#undef VM_FORMS_2
#undef VM_FORMS_3

} // namespace VM_SPACE
