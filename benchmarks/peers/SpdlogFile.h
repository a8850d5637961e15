#pragma once
/// \file
/// Records through spdlog into a rolling file of its own. It flushes after every record, as log4cplus does,
/// or when the file's buffer is full.

#include <filesystem>
#include <memory>

#include <spdlog/logger.h>
#include <spdlog/sinks/rotating_file_sink.h>

enum class Flush
{
    EveryRecord,
    WhenFull,
};

/// The kernel's pattern, in spdlog's notation.
inline constexpr const char* spdlogPattern = "[%t] %-5l - %v";

inline std::shared_ptr<spdlog::sinks::sink> makeSpdlogSink(const std::filesystem::path& path)
{
    constexpr std::size_t maxFileSize = 10UL * 1024 * 1024;
    return std::make_shared<spdlog::sinks::rotating_file_sink_mt>(path.string(), maxFileSize, 1);
}

template <Flush flush>
class SpdlogFile
{
public:
    static constexpr const char* name = flush == Flush::EveryRecord ? "spdlog" : "spdlog, not flushed";

    explicit SpdlogFile(const std::filesystem::path& path) : m_logger("peer", makeSpdlogSink(path))
    {
        m_logger.set_pattern(spdlogPattern);
        if (flush == Flush::EveryRecord)
            m_logger.flush_on(spdlog::level::info);
    }

    void log() { m_logger.info("loaded {} with {} vertices", "bunny.obj", 34835); }
    void logDisabled() { m_logger.debug("loaded {} with {} vertices", "bunny.obj", 34835); }
    void finish() { m_logger.flush(); }

private:
    spdlog::logger m_logger;
};
