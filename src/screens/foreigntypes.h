#pragma once

// The history, day, map and address controllers and the list model live in layers without QML;
// they are made known to the views here, so that pages name their types and qmllint checks them.
#include "connections/netviewcontroller.h"
#include "core/listmodel.h"
#include "day/dayviewcontroller.h"
#include "history/exportcontroller.h"
#include "history/historycontrollers.h"
#include "map/mapviewcontroller.h"

#include <QtQml/qqml.h>

struct ListModelForeign
{
    Q_GADGET
    QML_FOREIGN(ListModel)
    QML_NAMED_ELEMENT(ListModel)
    QML_UNCREATABLE("made by the app's navigator")
};

struct TimeChartViewControllerForeign
{
    Q_GADGET
    QML_FOREIGN(TimeChartViewController)
    QML_NAMED_ELEMENT(TimeChartViewController)
    QML_UNCREATABLE("made by the app's navigator")
};

struct CycleViewControllerForeign
{
    Q_GADGET
    QML_FOREIGN(CycleViewController)
    QML_NAMED_ELEMENT(CycleViewController)
    QML_UNCREATABLE("made by the app's navigator")
};

struct MultiCyclesControllerForeign
{
    Q_GADGET
    QML_FOREIGN(MultiCyclesController)
    QML_NAMED_ELEMENT(MultiCyclesController)
    QML_UNCREATABLE("made by the app's navigator")
};

struct DayViewControllerForeign
{
    Q_GADGET
    QML_FOREIGN(DayViewController)
    QML_NAMED_ELEMENT(DayViewController)
    QML_UNCREATABLE("made by the app's navigator")
};

struct ExportControllerForeign
{
    Q_GADGET
    QML_FOREIGN(ExportController)
    QML_NAMED_ELEMENT(ExportController)
    QML_UNCREATABLE("made by the app's navigator")
};

struct NetViewControllerForeign
{
    Q_GADGET
    QML_FOREIGN(NetViewController)
    QML_NAMED_ELEMENT(NetViewController)
    QML_UNCREATABLE("made by the app's navigator")
};

struct MapViewControllerForeign
{
    Q_GADGET
    QML_FOREIGN(MapViewController)
    QML_NAMED_ELEMENT(MapViewController)
    QML_UNCREATABLE("made by the app's navigator")
};
