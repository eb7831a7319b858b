#pragma once

#include "core/linkclassifier.h"
#include "menucontroller.h"

class SharedCode;

// The networks Tallymo sees and what each one counts as: the ones counted first (mobile data, then
// Wi-Fi & wired), then those never counted, then the networks not connected now that the user
// chose for. A row opens that network's choice.
class NetworksController : public MenuController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    explicit NetworksController(SharedCode &shared, QObject *parent = nullptr);
    void tapRow(int row) override;
    void aboutToShow() override { reload(); }

    // The words the screens use for a use and a kind of link.
    static QString useText(LinkUse use);
    static QString kindText(LinkKind kind);

private:
    void reload();

    SharedCode &m_shared;
    QStringList m_keys; // per row
};

// One network's choice: automatic (saying what that gives), mobile data, Wi-Fi & wired, or not
// counted. Written at once, for every Tallymo process.
class NetworkChoiceController : public MenuController
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the app's navigator")
public:
    NetworkChoiceController(SharedCode &shared, QString key, QObject *parent = nullptr);
    void tapRow(int row) override;

private:
    void reload();

    SharedCode &m_shared;
    const QString m_key;
    QString m_name;
};
