#pragma once

/// The ways in which the flat viewer can break the viewer contract, each under a symbol of its own: "flatViewer" keeps
/// every rule, "flatViewer_<Breach>" breaks one. The second column is the rule that `ov3d check-viewer` has to report.
#define FLAT_VIEWER_BREACHES(X)                                                                                        \
    X(NoFirstDraw, "first-frame")                                                                                      \
    X(ThrowsAtStart, "first-frame")                                                                                    \
    X(FirstDrawBeforeFrame, "first-draw-order")                                                                        \
    X(WidthBeforePixels, "frame-order")                                                                                \
    X(WidthBeforeHeight, "frame-order")                                                                                \
    X(WrongSize, "frame-size")                                                                                         \
    X(RowsUnpadded, "row-padding")                                                                                     \
    X(ShowsNothing, "model-visible")                                                                                   \
    X(KeyOffByOne, "key-colour")                                                                                       \
    X(BackgroundIsBlack, "key-colour")                                                                                 \
    X(BlendsEdges, "no-blend")                                                                                         \
    X(ModelInKeyColour, "key-free-model")                                                                              \
    X(DeliversOnce, "rest-twice")                                                                                      \
    X(ProgressFalls, "progress-range")                                                                                 \
    X(ProgressTo100, "progress-range")                                                                                 \
    X(ProgressUnderLock, "progress-unlocked")                                                                          \
    X(ProgressAfterFirstDraw, "progress-ends")                                                                         \
    X(CallsNullProgress, "null-progress")                                                                              \
    X(FileListUnterminated, "file-list-whole")                                                                         \
    X(FileListCutsNames, "file-list-whole")                                                                            \
    X(FileListAbsolute, "file-list-form")                                                                              \
    X(FileListBackslashes, "file-list-form")                                                                           \
    X(FileListMissesTexture, "file-list-complete")                                                                     \
    X(FileListLate, "file-list-early")                                                                                 \
    X(PathNotCopied, "path-copied")                                                                                    \
    X(StatusLeftZero, "status-first")                                                                                  \
    X(IgnoresSavedView, "saved-view")                                                                                  \
    X(RestoreRounds, "restore-exact")                                                                                  \
    X(RestoreShowsOldView, "restore-exact")                                                                            \
    X(SilentAfterButtonUp, "rest-again-button-up")                                                                     \
    X(SilentAfterRedraw, "rest-again-redraw")                                                                          \
    X(SilentAfterRestore, "rest-again-restore")                                                                        \
    X(CrashesOnLoneMove, "every-record")                                                                               \
    X(CommandUnanswered, "unknown-command")                                                                            \
    X(CommandDone, "unknown-command")                                                                                  \
    X(BackgroundIgnored, "opaque-background")                                                                          \
    X(SkyIgnored, "opaque-sky")                                                                                        \
    X(SizeIgnored, "size-change")                                                                                      \
    X(CrashesOnAbsurdSize, "absurd-size")                                                                              \
    X(ExceedsCapacity, "frame-capacity")                                                                               \
    X(OverwritesUntakenFrame, "frame-untaken")                                                                         \
    X(ActsOnUnknownAddress, "unknown-address")                                                                         \
    X(KeepsOldRun, "restart")                                                                                          \
    X(OneItemOnly, "two-items")                                                                                        \
    X(MissingModelHangs, "missing-model")                                                                              \
    X(DamagedModelCrashes, "damaged-model")                                                                            \
    X(ShowsCutPath, "cut-path")                                                                                        \
    X(WritesAfterStop, "stop-at-rest")                                                                                 \
    X(ReadsAfterStop, "stop-at-rest")                                                                                  \
    X(FinishesFrameAfterStop, "stop-busy")                                                                             \
    X(DeafDuringLoad, "stop-early")                                                                                    \
    X(CallbackOutlivesStop, "stop-callback")                                                                           \
    X(CrashesOnSecondStop, "stop-twice")                                                                               \
    X(RequestHangs, "requests-return")                                                                                 \
    X(StatusOutsideRequests, "status-writes")                                                                          \
    X(WritesHostField, "own-fields")                                                                                   \
    X(WritesBehindContext, "own-fields")                                                                               \
    X(WritesHdrPath, "hdr-path")

/// The same for what hosts can live with: the check gives advice, and does not fail.
#define FLAT_VIEWER_HABITS(X)                                                                                          \
    X(NoProgress, "progress-reported")                                                                                 \
    X(FileListMissesLibrary, "file-list-complete")                                                                     \
    X(DragsDoNothing, "orbit")                                                                                         \
    X(ViewTypeDoesNothing, "view-type")                                                                                \
    X(NoHomeView, "home")                                                                                              \
    X(SmallWhenOutgrown, "frame-capacity")                                                                             \
    X(NullSettingsCrash, "null-settings")                                                                              \
    X(StartNeverReturns, "start-returns")                                                                              \
    X(RequestIsSlow, "requests-prompt")                                                                                \
    X(ClearsResetCamera, "settings-untouched")

namespace flatviewer {

enum class Breach
{
    none,
#define FLAT_VIEWER_NAME(name, rule) name,
    FLAT_VIEWER_BREACHES(FLAT_VIEWER_NAME) FLAT_VIEWER_HABITS(FLAT_VIEWER_NAME)
#undef FLAT_VIEWER_NAME
};

} // namespace flatviewer
