#pragma once
/// \file
/// Runs a program and reads what it left.

#include <filesystem>
#include <string>
#include <vector>

#include <QProcess>
#include <QString>
#include <QStringList>

#include "support/Files.h"

namespace Brennic::Testing {

struct ProgramResult
{
    bool hasExited = false; ///< false if it was ended by a signal or an exception, or took more than a minute
    int exitCode = -1;
    std::string out;
    std::string err;
};

inline ProgramResult runProgram(const std::filesystem::path& program,
                                const std::vector<std::string>& arguments,
                                const std::filesystem::path& workingDirectory)
{
    constexpr int limitInMilliseconds = 60'000;
    QStringList list;
    for (const std::string& argument : arguments)
        list << QString::fromStdString(argument);
    QProcess process;
    process.setWorkingDirectory(QString::fromStdString(workingDirectory.u8string()));
    const std::filesystem::path place =
        program.has_parent_path() ? std::filesystem::absolute(program) : program;
    process.start(QString::fromStdString(place.u8string()), list);
    const bool isFinished = process.waitForFinished(limitInMilliseconds);
    return {isFinished && process.exitStatus() == QProcess::NormalExit, process.exitCode(),
            fromTextMode(process.readAllStandardOutput().toStdString()),
            fromTextMode(process.readAllStandardError().toStdString())};
}

} // namespace Brennic::Testing
