#pragma once

#include <QSize>

/// The space for messages in the window, in pixels. AccountManager is the public interface and
/// announces the changes.
///
/// Thread: the main thread.
class MessageGeometry
{
public:
    static MessageGeometry *instance();

    /// Restores the initial values of a process.
    void reset();
    /// Takes over the stored geometry of the main window.
    void load();

    /// The window without the list of dialogs; invalid until one is known.
    QSize window() const { return m_window; }
    /// False when nothing changes.
    bool setWindow(const QSize &size);
    /// How wide a message with media may be in a chat.
    int messageWidth() const { return m_messageWidth; }
    /// False when nothing changes; widths below 1 are ignored, the minimum is 200.
    bool setMessageWidth(int width) { return setWidth(&m_messageWidth, width); }
    /// The same in the view of a thread.
    int widthInThread() const { return m_widthInThread; }
    bool setWidthInThread(int width) { return setWidth(&m_widthInThread, width); }
    /// True when the information panel is switched on and the window is wide enough for it.
    bool isInfoPanelVisible() const;

private:
    static bool setWidth(int *present, int width);

    QSize m_window;
    int m_messageWidth = 425;
    int m_widthInThread = 224;
};
