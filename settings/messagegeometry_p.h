#pragma once

#include <QSize>

/// The room that messages have in the window, in pixels. AccountManager is its public face: it
/// announces what changes here.
///
/// Thread: the main thread.
class MessageGeometry
{
public:
    static MessageGeometry *instance();

    /// Back to the values of a process that has just started.
    void reset();
    /// Takes over the stored geometry of the main window.
    void load();

    /// The window without the list of dialogs; invalid until one is known.
    QSize window() const { return m_window; }
    /// False when nothing changes.
    bool setWindow(const QSize &size);
    /// How wide a message with media may be in a chat.
    int messageWidth() const { return m_messageWidth; }
    /// False when nothing changes; widths below 1 are ignored, the least is 200.
    bool setMessageWidth(int width) { return setWidth(&m_messageWidth, width); }
    /// The same in the view of a thread.
    int widthInThread() const { return m_widthInThread; }
    bool setWidthInThread(int width) { return setWidth(&m_widthInThread, width); }
    /// True when the information panel is wanted and the window is wide enough for it.
    bool isInfoPanelVisible() const;

private:
    static bool setWidth(int *present, int width);

    QSize m_window;
    int m_messageWidth = 425;
    int m_widthInThread = 224;
};
