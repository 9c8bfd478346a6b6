#include "viewer/session/deliveries.h"

namespace ov3d::session {

namespace {

constexpr int kWritesAtRest = 2;

} // namespace

using protocol::Quality;

void Deliveries::change()
{
    m_requested = ++m_wanted;
}

void Deliveries::repeat()
{
    const bool atRest = m_picture && m_picture->revision == m_wanted && m_picture->quality == Quality::final;
    if (atRest)
        m_left = kWritesAtRest;
    else if (m_done == m_wanted)
        change(); // its pixels have been given back
    // Otherwise a picture at rest is on its way, and is written twice in any case.
}

void Deliveries::recall()
{
    if (!m_picture && m_done == m_wanted)
        change();
}

bool Deliveries::hasPictureAtRest(std::uint64_t revision) const
{
    return m_picture && m_picture->quality == Quality::final && m_picture->revision >= revision;
}

bool Deliveries::needsPicture(Quality quality) const
{
    if (!m_picture)
        return m_done != m_wanted;
    return m_picture->revision != m_wanted || (m_picture->quality == Quality::draft && quality == Quality::final);
}

void Deliveries::arrived(std::uint64_t revision, Quality quality, bool moving)
{
    m_picture = Picture{revision, quality};
    m_left = quality == Quality::final && revision == m_wanted && !moving ? kWritesAtRest : 1;
}

void Deliveries::drop()
{
    m_picture.reset();
    m_left = 0;
}

void Deliveries::written()
{
    if (m_left == 0 || !m_picture)
        return;
    --m_left;
    m_untaken = true;
    m_written = m_picture->revision;
    if (m_left == 0 && m_picture->revision == m_wanted && m_picture->quality == Quality::final)
        m_done = m_wanted;
}

void Deliveries::taken()
{
    m_untaken = false;
    m_taken = m_written;
}

bool Deliveries::owes(bool turning) const
{
    if (turning)
        return m_taken < m_requested;
    return m_done != m_wanted || m_left > 0 || m_untaken;
}

} // namespace ov3d::session
