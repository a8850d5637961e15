#include <brn_mesh_widgets/TaskbarEntry.h>

#include <shobjidl.h>
#include <windows.h>

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QWidget>

namespace Brennic::Widgets {

namespace {

constexpr ULONGLONG wholeBar = 1000;

struct Release
{
    void operator()(ITaskbarList3* list) const { list->Release(); }
};
using TaskbarList = std::unique_ptr<ITaskbarList3, Release>;

// Empty where there is no shell, or where the GUI thread has not initialised COM.
TaskbarList makeTaskbarList()
{
    void* made = nullptr;
    if (FAILED(CoCreateInstance(CLSID_TaskbarList, nullptr, CLSCTX_INPROC_SERVER, IID_ITaskbarList3, &made)))
        return nullptr;
    TaskbarList list(static_cast<ITaskbarList3*>(made));
    return SUCCEEDED(list->HrInit()) ? std::move(list) : nullptr;
}

TBPFLAG flagOf(const TaskbarLook& look)
{
    if (!look.isVisible)
        return TBPF_NOPROGRESS;
    if (look.hasFailed)
        return TBPF_ERROR;
    return look.isBusy ? TBPF_INDETERMINATE : TBPF_NORMAL;
}

} // namespace

// The shell makes a window's button some time after the window is shown, and anew when the shell is started again. It
// takes no progress before that, and says by a message when it does.
class TaskbarEntry::TaskbarEntryImpl final : public QAbstractNativeEventFilter
{
public:
    explicit TaskbarEntryImpl(const QWidget& window);
    ~TaskbarEntryImpl() override;

    void show(const TaskbarLook& look);

    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

private:
    const QWidget& m_window;
    const UINT m_buttonCreated = RegisterWindowMessageW(L"TaskbarButtonCreated");
    const TaskbarList m_list = makeTaskbarList();
    HWND m_handle = nullptr; // the last that was seen: at the end the window may be half destroyed
    TaskbarLook m_look;
};

TaskbarEntry::TaskbarEntryImpl::TaskbarEntryImpl(const QWidget& window) : m_window(window)
{
    QCoreApplication::instance()->installNativeEventFilter(this);
}

TaskbarEntry::TaskbarEntryImpl::~TaskbarEntryImpl()
{
    if (QCoreApplication::instance() != nullptr)
        QCoreApplication::instance()->removeNativeEventFilter(this);
}

void TaskbarEntry::TaskbarEntryImpl::show(const TaskbarLook& look)
{
    m_look = look;
    if (look.isVisible)
        m_handle = reinterpret_cast<HWND>(m_window.internalWinId()); // winId() would make a window
    if (!m_list || m_handle == nullptr)
        return;
    // The value first: it would end a busy bar.
    if (look.isVisible && !look.isBusy)
        m_list->SetProgressValue(m_handle, static_cast<ULONGLONG>(look.thousandths), wholeBar);
    m_list->SetProgressState(m_handle, flagOf(look));
}

bool TaskbarEntry::TaskbarEntryImpl::nativeEventFilter(const QByteArray&, void* message, qintptr*)
{
    const MSG& event = *static_cast<const MSG*>(message);
    if (event.message == m_buttonCreated && event.hwnd == reinterpret_cast<HWND>(m_window.internalWinId()))
        show(m_look);
    return false; // others want to know it too
}

TaskbarEntry::TaskbarEntry(QWidget& window, QString) : m_impl(std::make_unique<TaskbarEntryImpl>(window)) {}

TaskbarEntry::~TaskbarEntry() = default;

void TaskbarEntry::show(const TaskbarLook& look)
{
    m_impl->show(look);
}

} // namespace Brennic::Widgets
