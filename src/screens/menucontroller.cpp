#include "menucontroller.h"

MenuController::MenuController(QString title, std::vector<Row> rows, QObject *parent)
    : QObject(parent), m_title(std::move(title)), m_rows(std::move(rows)),
      m_model(new ListModel(
          {"section", "title", "detail", "opens", "enabled", "kind", "on", "footer"},
          [this] { return int(m_rows.size()); },
          [this](int i, const QByteArray &role) -> QVariant {
              const Row &r = m_rows[size_t(i)];
              if (role == "section")
                  return r.section;
              if (role == "title")
                  return r.title;
              if (role == "detail")
                  return r.detail;
              if (role == "enabled")
                  return r.enabled;
              if (role == "kind")
                  return int(r.kind);
              if (role == "on")
                  return r.on;
              if (role == "footer") {
                  const bool last =
                      size_t(i) + 1 == m_rows.size() || m_rows[size_t(i) + 1].section != r.section;
                  return last ? footer(r.section) : QString();
              }
              return int(r.opens);
          },
          this))
{
    m_model->reload();
}

QString MenuController::footer(int section) const
{
    return m_footers.value(section);
}

void MenuController::setRows(std::vector<Row> rows)
{
    m_rows = std::move(rows);
    m_model->reload();
}

void MenuController::setFooters(QStringList footers)
{
    m_footers = std::move(footers);
    m_model->reload();
}

void MenuController::setTitle(const QString &title)
{
    if (title == m_title)
        return;
    m_title = title;
    emit titleChanged();
}

void MenuController::tapRow(int row)
{
    if (row < 0 || row >= int(m_rows.size()))
        return;
    const Row &r = m_rows[size_t(row)];
    if (r.enabled && r.kind == Disclosure && r.opens != Navigator::NoScreen)
        emit open(r.opens);
}

void MenuController::setSwitch(int, bool) {}

void MenuController::answer(int) {}
