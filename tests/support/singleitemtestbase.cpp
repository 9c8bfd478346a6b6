#include "tests/support/singleitemtestbase.h"

void SingleItemTestBase::update(std::int32_t operation)
{
    m_item->m_context.op = operation;
    m_item->update_view(&m_item->m_context);
}

void SingleItemTestBase::init()
{
    ItemTestBase::init();
    m_item = m_fixture->createItem();
}
