// Windows that never open larger than the screen, whatever they remember or their contents ask for.
#pragma once

#include <QScreen>
#include <QWidget>

namespace corvalissement {

// Makes the window fit the screen it is on, with room for its frame, and brings it there.
inline void keep_on_screen(QWidget& window) {
    constexpr int FRAME_WIDTH = 16;
    constexpr int FRAME_HEIGHT = 48;
    const QRect room = window.screen()->availableGeometry().adjusted(0, 0, -FRAME_WIDTH, -FRAME_HEIGHT);
    window.resize(window.size().boundedTo(room.size()));
    QRect place = window.geometry();
    place.moveLeft(qBound(room.left(), place.left(), room.right() - place.width() + 1));
    place.moveTop(qBound(room.top(), place.top(), room.bottom() - place.height() + 1));
    if (place.topLeft() != window.geometry().topLeft()) window.move(place.topLeft());
}

} // namespace corvalissement
