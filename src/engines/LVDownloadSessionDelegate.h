#pragma once

#include "foundation/VMError.h"

#include <QByteArray>

class LVDownloadSession;
class LVDownloadTask;

// The session's events. All three are called on the session's own thread, one at a time.
class LVDownloadSessionDelegate
{
public:
    virtual ~LVDownloadSessionDelegate() = default;
    // didReceiveData: a chunk of the body. The receiver must hand the chunk's size back through
    // LVDownloadTask::didConsumeBytes once it has dealt with it, or the transfer stays paused.
    virtual void URLSession(LVDownloadSession* session, LVDownloadTask* dataTask, const QByteArray& data) = 0;
    // More of the body was written into the task's download file. Sent once until the receiver
    // has taken the notice (LVDownloadTask::takeWriteNotice); the receiver then hands the bytes
    // back through LVDownloadTask::didConsumeWrittenBytes, or the transfer stays paused.
    virtual void URLSessionDidWriteData(LVDownloadSession* session, LVDownloadTask* dataTask) = 0;
    // didCompleteWithError: the task ended; a null error means success.
    virtual void URLSession(LVDownloadSession* session, LVDownloadTask* task, const VMError& error) = 0;
    // didBecomeInvalidWithError: the session can't be used any more.
    virtual void URLSession(LVDownloadSession* session, const VMError& error) = 0;
};
