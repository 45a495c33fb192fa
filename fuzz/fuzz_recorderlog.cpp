// The recorder's logs as the import reads them: the first byte chooses the
// binary or the text form (and, with its high bits, a step of the progress
// at which the user aborts); the rest is the log. Then every id's frames are
// decoded into arrays of the size the import makes.
#include "canlog.h"
#include "fuzz_support.h"

#include <QBuffer>

#include <cmath>
#include <vector>

namespace {

class Progress : public IFImportProgress
{
public:
    Progress(int abortAt, int limit) : abortAt(abortAt), limit(limit) {}
    bool showStep(int step) override
    {
        // Steps never fall, and are shown at most once a step of the scale.
        if (step < last || ++calls > limit)
            std::abort();
        last = step;
        return abortAt == 0 || ++shown < abortAt;
    }

private:
    const int abortAt;
    const int limit;
    int shown = 0;
    int calls = 0;
    int last = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const fuzz::AllocationBound bound(size, 16, 256 * 1024);
    const CanLogForm form = data[0] & 1 ? CanLogForm::Text : CanLogForm::Binary;
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data + 1), int(size - 1));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);

    const ProgressScale scale = progressScale(buffer.size());
    Progress readProgress(data[0] >> 5, scale.steps + 1);
    const CanLog log = readCanLog(form, &buffer, scale, &readProgress);
    if (log.frames.size() * 19 > size)
        std::abort(); // no frame without its bytes
    for (const ImportFrame& frame : log.frames) {
        if (!std::isfinite(frame.time))
            std::abort();
    }

    // Each id decoded two ways: as a byte value and as a bit field.
    ValueLayout byteValue;
    byteValue.dataType = DataType::Unsigned16;
    byteValue.bytePos = data[0] >> 5;
    ValueLayout bitValue;
    bitValue.bitLayout = BitLayout{};
    bitValue.bitLayout->field = BitField{3, 12, true};
    for (auto it = log.framesById.cbegin(); it != log.framesById.cend(); ++it) {
        const size_t n = it->size();
        std::vector<double> x(n + 2), y(n + 2);
        for (const ValueLayout* layout : {&byteValue, &bitValue}) {
            Progress convertProgress(0, progressScale(int64_t(n)).steps + 1);
            int samples = -1;
            decodeSamples(log, it.key(), *layout, x.data(), y.data(), &convertProgress, &samples);
            if (samples < 0 || size_t(samples) > n)
                std::abort();
        }
    }
    return 0;
}
