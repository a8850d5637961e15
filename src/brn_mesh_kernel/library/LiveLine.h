#pragma once
/// \file
/// Internal, not installed. The one line at the end of the standard output that is drawn again and again on a terminal.
///
/// A thread that prints anything else hides the line first: the line is erased, and not drawn again until every such
/// thread has printed. While no line is shown, hiding costs two changes of an atomic number.

#include <atomic>
#include <mutex>
#include <string>

namespace Brennic::Core {

class LiveLine
{
public:
    /// The line of the process. Never destroyed: threads print until the process has ended.
    static LiveLine& instance();

    /// Shows the text in place of what was shown, unless the line is hidden.
    void draw(const std::string& text);
    /// Erases what is shown.
    void clear();

    /// Erases what is shown, and prevents drawing until \ref release has been called as often as this.
    void hide();
    void release();

    /// Hides the line while the object lives.
    class Hidden
    {
    public:
        Hidden() { instance().hide(); }
        ~Hidden() { instance().release(); }
        Hidden(const Hidden&) = delete;
        Hidden& operator=(const Hidden&) = delete;
    };

private:
    LiveLine() = default;

    std::mutex m_mutex;                 // held while the line is written or erased
    std::atomic<int> m_hiders{0};       // read and changed without the mutex
    std::atomic<bool> m_isShown{false}; // set under the mutex, before the line is written
};

} // namespace Brennic::Core
