#pragma once

#include "tests/support/itemfixture.h"
#include "tests/support/testbase.h"

#include <optional>

/// Base of tests that need an item's surroundings: every test function has a fixture of its own, and texts are handed
/// to viewers as UTF-8.
class ItemTestBase : public TestBase
{
    Q_OBJECT

protected:
    std::optional<ItemFixture> m_fixture;

protected Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
};
