// Runs a function on the thread of a Qt object: at once when the caller is on it already,
// else on that thread while the caller waits.
#pragma once

#include <QMetaObject>
#include <QObject>
#include <QThread>
#include <utility>

namespace quorvane {

template <typename Function>
void OnThread(QObject* context, Function&& function) {
  if (QThread::currentThread() == context->thread()) {
    function();
  } else {
    QMetaObject::invokeMethod(context, std::forward<Function>(function),
                              Qt::BlockingQueuedConnection);
  }
}

}  // namespace quorvane
