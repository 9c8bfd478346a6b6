#pragma once

#include "src/plugin/ov3dobject.h"

#include <QStringList>

#include <functional>

/// An item that records how its restoring functions ask for the model, instead of loading it.
class LoadProbe : public COv3DObject
{
public:
    LoadProbe()
        : COv3DObject(0, false, nullptr)
    {
    }

    bool loadFromFile(const QString& path) override
    {
        loads << path;
        wasMarkedLoaded = isLoadedFlag();
        if (onLoad)
            onLoad();
        return false;
    }

    QStringList loads;
    bool wasMarkedLoaded = false; ///< the host's loaded flag at the latest load
    std::function<void()> onLoad;
};
