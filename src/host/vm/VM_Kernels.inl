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
        VM_LANE_LOOP(k, n) {                                                                                           \
            const double a = pa[k];                                                                                    \
            to[k] = FORMULA;                                                                                           \
        }                                                                                                              \
    }

#define VM_KERNEL_2_FORM(NAME, NUMBERS, A, B, FORMULA)                                                                 \
    VM_TARGET void NAME##_##NUMBERS(double* to, const VM_Operand* operands, int n) {                                   \
        [[maybe_unused]] const double *pa = operands[0].column, *pb = operands[1].column;                              \
        [[maybe_unused]] const double na = operands[0].number, nb = operands[1].number;                                \
        VM_LANE_LOOP(k, n) {                                                                                           \
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
        VM_LANE_LOOP(k, n) {                                                                                           \
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

VM_TARGET void roundLanes(const double* from, float* to, int n) {
    for (int k = 0; k < n; ++k) {
        const float value = float(from[k]);
        to[k] = value != value ? PLAIN_NAN : value;
    }
}

#if defined(__x86_64__)

// ---- fields of eight records at a time

VM_TARGET inline void store4(double* to, __m128 value) {
#if VM_WIDE
    _mm256_storeu_pd(to, _mm256_cvtps_pd(value));
#else
    _mm_storeu_pd(to, _mm_cvtps_pd(value));
    _mm_storeu_pd(to + 2, _mm_cvtps_pd(_mm_movehl_ps(value, value)));
#endif
}

VM_TARGET inline __m128 converted(const VM_Field& field, __m128i bits) {
    if (field.kind == VM_Field::Int) return _mm_cvtepi32_ps(bits);
    const __m128i masked = _mm_and_si128(bits, _mm_set1_epi32(int(field.mask)));
    const __m128 unset = _mm_castsi128_ps(_mm_cmpeq_epi32(masked, _mm_setzero_si128()));
    return _mm_andnot_ps(unset, _mm_set1_ps(1.0f));
}

// Four records one behind the other, or anywhere.
struct RowOfFour {
    const char* first;
    size_t stride;
    VM_TARGET const char* operator()(int i) const { return first + size_t(i) * stride; }
};
struct AnyFour {
    const char* const* pointers;
    VM_TARGET const char* operator()(int i) const { return pointers[i]; }
};

// By bits: other than with floats, compilers make the load a part of the insertion.
template <class Four> VM_TARGET inline __m128i loadFour(const Four& record, ptrdiff_t offset) {
    const auto bits = [&](int i) VM_TARGET {
        int value;
        std::memcpy(&value, record(i) + offset, sizeof value);
        return value;
    };
    __m128i r = _mm_cvtsi32_si128(bits(0));
    r = _mm_insert_epi32(r, bits(1), 1);
    r = _mm_insert_epi32(r, bits(2), 2);
    return _mm_insert_epi32(r, bits(3), 3);
}

template <class Four>
VM_TARGET inline void fetchEight(const Four& low, const Four& high, int k, const VM_Field* fields, size_t numFields) {
    for (const VM_Field* field = fields; field != fields + numFields; ++field) {
        double* const to = field->to + k;
        const __m128i a = loadFour(low, field->offset), b = loadFour(high, field->offset);
        if (field->kind == VM_Field::Float) {
            store4(to, _mm_castsi128_ps(a));
            store4(to + 4, _mm_castsi128_ps(b));
        } else {
            store4(to, converted(*field, a));
            store4(to + 4, converted(*field, b));
        }
    }
}

// Has the processor bring what comes later into its second cache, while operations run, too: by itself it reads ahead
// only as long as it is asked for more. No multiple of 4 KiB, or lines read and asked for would share their sets.
VM_TARGET inline void askAhead(const char* at, size_t bytes) {
    constexpr size_t AHEAD = 15 * 1024;
    for (const char* line = at + AHEAD; line < at + AHEAD + bytes; line += 64) __builtin_prefetch(line, 0, 2);
}

// Records in groups of eight, from `from` on; returns how far it came before `to`.
VM_TARGET int fetchGroups(const VM_Records& records, const VM_Field* fields, size_t numFields, int from, int to,
                          bool asksAhead) {
    int k = from;
    if (records.pointers) {
        for (; k + 8 <= to; k += 8)
            fetchEight(AnyFour{records.pointers + k}, AnyFour{records.pointers + k + 4}, k, fields, numFields);
    } else {
        const size_t stride = records.stride;
        for (const char* at = records.first + size_t(k) * stride; k + 8 <= to; k += 8, at += 8 * stride) {
            if (asksAhead) askAhead(at, 8 * stride);
            fetchEight(RowOfFour{at, stride}, RowOfFour{at + 4 * stride, stride}, k, fields, numFields);
        }
    }
    return k;
}

#else

int fetchGroups(const VM_Records&, const VM_Field*, size_t, int from, int, bool) { return from; }

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
