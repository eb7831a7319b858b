#include "inputmode.h"

#include <QCoreApplication>
#include <QEvent>

InputMode::InputMode(QObject *parent) : QObject(parent)
{
    // Every event of the application passes here first; only the kind is looked at.
    QCoreApplication::instance()->installEventFilter(this);
}

bool InputMode::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::KeyPress:
        setKeyboard(true);
        break;
    case QEvent::MouseButtonPress:
    case QEvent::TouchBegin:
        setKeyboard(false);
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

void InputMode::setKeyboard(bool on)
{
    if (on == m_keyboard)
        return;
    m_keyboard = on;
    emit keyboardChanged();
}
