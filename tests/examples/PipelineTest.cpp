/// \file
/// How a run of the pipeline ends, and what it has done by then.

#include "Pipeline.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/TemporaryDirectory.h"

using Outcome = RunEnd::Outcome;

namespace {

class PipelineTest : public ::testing::Test
{
protected:
    PipelineTest()
    {
        options.input = directory / "mesh.obj";
        options.output = directory / "smoothed.obj";
        options.threads = 2;
        Brennic::Testing::writeFile(options.input, "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\n"
                                                   "f 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n");
    }

    Brennic::Testing::TemporaryDirectory directory;
    RunOptions options;
    Stages stages{options, 100};
    Pipeline pipeline{options, stages, [](Stage, const std::wstring&, const std::wstring&) {}};
};

} // namespace

TEST_F(PipelineTest, aRunThatIsDoneHasAllIterationsAndItsOutput)
{
    const RunEnd end = pipeline.run();
    EXPECT_EQ(end.outcome, Outcome::Done);
    EXPECT_EQ(end.error, "");
    EXPECT_EQ(pipeline.iterationsDone(), 10);
    EXPECT_TRUE(std::filesystem::exists(options.output));
}

TEST_F(PipelineTest, aRunThatFailsSaysWhy)
{
    std::filesystem::remove(options.input);
    const RunEnd end = pipeline.run();
    EXPECT_EQ(end.outcome, Outcome::Failed);
    EXPECT_NE(end.error.find("mesh.obj: there is no such file"), std::string::npos) << end.error;
}

// The host is called between the question whether to stop and the loops of the sixth iteration.
TEST_F(PipelineTest, anIterationThatIsCancelledInsideIsNotCountedAndNothingIsSaved)
{
    options.midway = [this] { stages.root()->cancel(); };
    EXPECT_EQ(pipeline.run().outcome, Outcome::Interrupted);
    EXPECT_EQ(pipeline.iterationsDone(), 5);
    EXPECT_FALSE(std::filesystem::exists(options.output));
}
