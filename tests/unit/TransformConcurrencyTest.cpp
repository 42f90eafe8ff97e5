// Image objects share no state: threads that each transform their own pair
// of objects get exactly the results of a single thread.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "TestFrames.h"

namespace {

struct Job {
    int source_format;
    int destination_format;
};

// Samples use the whole range of their bytes: a 12-bit source would index
// table entries that no build writes.
const Job kJobs[] = {
    {KORVA_PIXTYPE_MONO16, KORVA_PIXTYPE_MONO8},
    {KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_RGB8_PACKED},
    {KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_BGRA8_PACKED},
    {KORVA_PIXTYPE_YUV422_PACKED, KORVA_PIXTYPE_RGB8_PACKED},
    {KORVA_PIXTYPE_MONO8, 0},
};

struct Outcome {
    int result = 0;
    std::vector<unsigned char> bytes;
    bool operator==(const Outcome& other) const { return result == other.result && bytes == other.bytes; }
};

// One frame through one pair of objects, as a stream would send it.
Outcome RunJob(CImgProc& source, CImgProc& target, const Job& job, unsigned seed)
{
    // A width that every layout fills completely, so no byte of the target
    // is left as the allocator gave it.
    const int width = 36, height = 21, header = 16;
    testframes::LayFrame(
        source, job.source_format, width, height, [seed](int i) { return (i * 131u + seed * 17u) >> 3; }, header);
    source.setNumber(static_cast<int>(seed), 1);
    source.setState(KORVA_IMAGESTATE_OK);
    if (job.destination_format == 0)
        target.resetTransformSettings();  // no wish: keep the source's format
    else
        target.setDestinationPixelFormat(job.destination_format);

    Outcome outcome;
    outcome.result = source.doTransformImageObject(&target);
    // A reused target buffer may be longer than the frame: compare the part
    // that the chunks describe.
    unsigned char* out = nullptr;
    target.getBuffer(&out);
    const int length = target.mMemSrc.GetLengthOfAllChunks();
    if (out != nullptr && length > 0)
        outcome.bytes.assign(out, out + length);
    return outcome;
}

TEST(TransformConcurrency, ThreadsMatchASingleThread)
{
    const int kThreads = 4, kRounds = 6;
    std::vector<Outcome> expected;
    for (int round = 0; round < kRounds; ++round) {
        for (const Job& job : kJobs) {
            auto source = std::make_unique<CImgProc>();
            auto target = std::make_unique<CImgProc>();
            expected.push_back(RunJob(*source, *target, job, static_cast<unsigned>(round)));
        }
    }

    std::vector<std::vector<Outcome>> seen(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &seen] {
            // Each thread reuses its own objects across frames and formats.
            auto source = std::make_unique<CImgProc>();
            auto target = std::make_unique<CImgProc>();
            for (int round = 0; round < kRounds; ++round) {
                for (const Job& job : kJobs)
                    seen[t].push_back(RunJob(*source, *target, job, static_cast<unsigned>(round)));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (int t = 0; t < kThreads; ++t)
        for (size_t i = 0; i < expected.size(); ++i)
            EXPECT_TRUE(seen[t][i] == expected[i]) << "thread " << t << " round " << i / 5 << " job " << i % 5;
}

}  // namespace
