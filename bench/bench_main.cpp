// imgproc_bench: throughput of the image-processing plug-in, with memcpy
// (and OpenCV where built in) as yardsticks in the same run.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bench_common.h"

namespace {

// Defaults that make a plain run trustworthy: five repetitions, reported as
// mean, median, spread. Given before the user's own arguments, so any of them
// can be overridden on the command line.
const char* const kDefaultArguments[] = {
    "--benchmark_repetitions=5",
    "--benchmark_report_aggregates_only=true",
};

}  // namespace

int main(int argc, char** argv)
{
    std::string error;
    if (!bench::LoadPlugin(&error)) {
        std::fprintf(stderr, "imgproc_bench: cannot load the plug-in %s: %s\n", IMGPROC_PLUGIN_PATH, error.c_str());
        return 1;
    }

    std::vector<char*> args;
    args.push_back(argv[0]);
    for (const char* a : kDefaultArguments)
        args.push_back(const_cast<char*>(a));
    for (int i = 1; i < argc; ++i)
        args.push_back(argv[i]);
    int count = static_cast<int>(args.size());
    args.push_back(nullptr);

    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data()))
        return 1;

    bench::RegisterPluginBenchmarks();
    bench::RegisterStaticBenchmarks();
    bench::RegisterReferenceBenchmarks();
    bench::RegisterThreadBenchmarks();

    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    bench::UnloadPlugin();
    return 0;
}
