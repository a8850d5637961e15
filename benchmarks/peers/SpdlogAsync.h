#pragma once
/// \file
/// Records through spdlog, written and flushed one by one in a thread of its own.

#include <filesystem>
#include <memory>

#include <spdlog/async.h>

#include "peers/SpdlogFile.h"

class SpdlogAsync
{
public:
    static constexpr const char* name = "spdlog, asynchronous";

    explicit SpdlogAsync(const std::filesystem::path& path)
        : m_pool(std::make_shared<spdlog::details::thread_pool>(8192U, 1U)),
          m_logger(std::make_shared<spdlog::async_logger>("peer", makeSpdlogSink(path), m_pool,
                                                          spdlog::async_overflow_policy::block))
    {
        m_logger->set_pattern(spdlogPattern);
        m_logger->flush_on(spdlog::level::info);
    }

    void log() { m_logger->info("loaded {} with {} vertices", "bunny.obj", 34835); }
    /// Lets the thread write everything, and ends it.
    void finish() { m_pool.reset(); }

private:
    std::shared_ptr<spdlog::details::thread_pool> m_pool;
    std::shared_ptr<spdlog::async_logger> m_logger;
};
