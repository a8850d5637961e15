#pragma once
/// \file
/// An observer interface with notifications of every shape, and a receiver that writes down what it hears.

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <QObject>
#include <QThread>

namespace Brennic::Testing {

struct Listener
{
    virtual ~Listener() = default;
    virtual void happened() {}
    virtual void moved(int /*distance*/, const std::string& /*where*/) {}
    virtual void changed(const void* /*sender*/, float /*value*/, const std::wstring& /*text*/) {}
};

/// What was heard, in order, across all the receivers that write to it.
class Journal
{
public:
    void write(const std::string& line)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.push_back(line);
        m_threads.push_back(QThread::currentThread());
    }
    std::vector<std::string> lines() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_lines;
    }
    std::vector<QThread*> threads() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_threads;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_lines;
    std::vector<QThread*> m_threads;
};

class Receiver : public Listener
{
public:
    Receiver(Journal& journal, std::string name) : m_journal(journal), m_name(std::move(name)) {}

    void happened() override
    {
        m_journal.write(m_name);
        if (onHappened)
            onHappened();
    }
    void moved(int distance, const std::string& where) override
    {
        m_journal.write(m_name + ' ' + std::to_string(distance) + ' ' + where);
    }
    void changed(const void* sender, float value, const std::wstring& text) override
    {
        m_journal.write(m_name + (sender == this ? " self " : " other ") + std::to_string(value) + ' ' +
                        std::string(text.begin(), text.end()));
    }

    std::function<void()> onHappened;

private:
    Journal& m_journal;
    std::string m_name;
};

class ObjectReceiver : public QObject, public Receiver
{
public:
    ObjectReceiver(Journal& journal, const std::string& name, QObject* parent = nullptr)
        : QObject(parent), Receiver(journal, name)
    {
    }
};

} // namespace Brennic::Testing
