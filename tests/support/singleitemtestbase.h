#pragma once

#include "src/plugin/ov3dobject.h"
#include "tests/support/itemtestbase.h"

#include <cstdint>

/// Base of tests of one item: every test function begins with a fresh one, which the fixture releases.
class SingleItemTestBase : public ItemTestBase
{
    Q_OBJECT

protected:
    /// Has the item tell its viewer of an operation.
    void update(std::int32_t operation);

    COv3DObject* m_item = nullptr;

protected Q_SLOTS:
    void init();
};
