#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

// Whether the user is going through the screens with the keyboard. A list shows its current row
// only then: after a tap or a click no row is chosen, and a first row drawn as chosen on a
// screen just opened reads as pressed.
class InputMode : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool keyboard READ keyboard NOTIFY keyboardChanged)

public:
    explicit InputMode(QObject *parent = nullptr);

    bool keyboard() const { return m_keyboard; }

signals:
    void keyboardChanged();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void setKeyboard(bool on);
    bool m_keyboard = false;
};
