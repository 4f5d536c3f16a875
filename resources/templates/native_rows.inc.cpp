// The entries for many points, over evalLanes() for a few at a time.

static bool hasLanes()
{
#if defined(__x86_64__)
    return __builtin_cpu_supports("avx2");
#else
    return true;
#endif
}

static void evalEach(const float *xs, const float *ys, const float *zs, long step, float *out,
                     long count)
{
    for (long i = 0; i < count; ++i) {
        const float point[3] = {xs[i], ys[i * step], zs[i * step]};
        eval_main(point, out + i, nullptr, nullptr);
    }
}

__attribute__((noinline, EVAL_LANE_TARGET)) static void
evalBlock(const float *xs, const float *ys, const float *zs, long step, float *out)
{
    lanes::V3 point;
    std::memcpy(&point.x, xs, sizeof point.x);
    if (step == 0) {
        point.y = lanes::splat(*ys);
        point.z = lanes::splat(*zs);
    } else {
        std::memcpy(&point.y, ys, sizeof point.y);
        std::memcpy(&point.z, zs, sizeof point.z);
    }
    const lanes::Float distance = lanes::evalLanes(point);
    std::memcpy(out, &distance, sizeof distance);
}

static void evalMany(const float *xs, const float *ys, const float *zs, long step, float *out,
                     long count)
{
    constexpr long width = lanes::laneCount;
    if (!hasLanes() || count < width) {
        evalEach(xs, ys, zs, step, out, count);
        return;
    }
    for (long i = 0; i < count; i += width) {
        // The last block goes back over points that are done, rather than beyond the end.
        const long first = i + width <= count ? i : count - width;
        evalBlock(xs + first, ys + first * step, zs + first * step, step, out + first);
    }
}

extern "C" void eval_row(const float *xs, float y, float z, float *out, long count)
{
    evalMany(xs, &y, &z, 0, out, count);
}

extern "C" void eval_points(const float *xs, const float *ys, const float *zs, float *out,
                            long count)
{
    evalMany(xs, ys, zs, 1, out, count);
}
