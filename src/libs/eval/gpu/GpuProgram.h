#pragma once

#include <eval/gpu/GpuLane.h>
#include <rhi/QRhiCompat.h>

#include <QMutex>
#include <QString>

#include <atomic>
#include <memory>
#include <span>

namespace eval::gpu {

class LaneResources;

/// A shader of one of the lanes with what it needs on the device. Any thread may make, run and
/// destroy it: everything on the device happens on the device's own thread. dispatch() may be
/// called by several threads at the same time; they take turns.
class GpuProgram
{
public:
    /// Null, and the reason in `error`, when something cannot be made.
    /// @param inFloats   of one point; may be 0
    /// @param outFloats  of one point; at least 1
    static std::unique_ptr<GpuProgram> create(const QShader &shader, int inFloats, int outFloats,
                                              QString &error);
    static std::unique_ptr<GpuProgram> createFragmentLane(const QShader &shader, int inFloats,
                                                          int outFloats, QString &error);
    ~GpuProgram();
    GpuProgram(const GpuProgram &) = delete;
    GpuProgram &operator=(const GpuProgram &) = delete;

    GpuLane lane() const { return m_lane; }
    /// False once the device that it was made on is lost or released.
    bool isUsable() const;
    /// The points of one trip to the device at most; more than that go one after the other.
    void setPartLimit(qsizetype points) { m_partLimit = points; }

    /// Evaluates `count` points in as few trips to the device as it takes.
    /// @param input      count * inFloats floats
    /// @param output     count * outFloats floats; unspecified after a failure
    /// @param cancelled  looked at between trips; once true the rest is left undone. May be null.
    /// @return what failed; empty on success. A device that is lost stays lost for this program.
    QString dispatch(std::span<const float> input, std::span<float> output, qsizetype count,
                     const std::atomic_bool *cancelled = nullptr);

    /// Gives back what is on the device, on whose thread it is called.
    void release();

private:
    GpuProgram(GpuLane lane, std::unique_ptr<LaneResources> resources, int inFloats, int outFloats);
    static std::unique_ptr<GpuProgram> make(std::unique_ptr<GpuProgram> program,
                                            const QShader &shader, const QString &name,
                                            QString &error);
    QString runParts(std::span<const float> input, std::span<float> output, qsizetype count,
                     const std::atomic_bool *cancelled);

    const GpuLane m_lane;
    const int m_inFloats;
    const int m_outFloats;
    qsizetype m_partLimit = 0;                  ///< 0: what the device takes
    QString m_driverKey;                        ///< of the marks while the driver compiles
    bool m_hasRun = false;                      ///< drivers compile part of it then; under m_mutex
    QMutex m_mutex;                             ///< held by the dispatch that runs
    std::unique_ptr<LaneResources> m_resources; ///< null once the device is gone
    std::atomic_bool m_isReleased = false;
};

} // namespace eval::gpu
