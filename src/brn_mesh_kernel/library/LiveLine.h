#pragma once
/// \file
/// Internal, not installed. The one line at the end of the standard output that is drawn again and again on a terminal.
///
/// Whoever prints anything else hides it meanwhile, in whatever thread: it is erased first, and not drawn until all have
/// printed. Where no line is shown, hiding costs two changes of an atomic number.

#include <atomic>
#include <mutex>
#include <string>

namespace Brennic::Core {

class LiveLine
{
public:
    /// The process's; it outlives whatever may print late.
    static LiveLine& instance();

    /// Shows the text in place of what was shown, unless the line is hidden.
    void draw(const std::string& text);
    /// Erases what is shown.
    void clear();

    /// Erases what is shown, and keeps the line away until as many calls of \ref release have followed.
    void hide();
    void release();

    /// Keeps the line away while it lives.
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
    std::atomic<int> m_hiders{0};       // without the mutex
    std::atomic<bool> m_isShown{false}; // set under the mutex, before the writing
};

} // namespace Brennic::Core
