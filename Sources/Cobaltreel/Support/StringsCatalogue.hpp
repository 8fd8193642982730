#pragma once

/// Every fixed text of the interface: ENTRY(name, Hebrew, English). The one list from which the
/// accessors of `S`, their counterparts in the declarative views and the catalogue walk are made. A name that
/// stands in a Hebrew text is isolated from its direction.
// clang-format off
#define COBALTREEL_TEXTS(ENTRY)                                                                              \
    ENTRY(startRecording, u"התחל הקלטה", u"Start Recording")                                                  \
    ENTRY(stopRecording, u"עצור הקלטה", u"Stop Recording")                                                    \
    ENTRY(fullScreen, u"מסך מלא", u"Full Screen")                                                             \
    ENTRY(window, u"חלון", u"Window")                                                                         \
    ENTRY(whatToRecord, u"מה להקליט", u"What to record")                                                      \
    ENTRY(systemAudio, u"צלילי מערכת", u"System audio")                                                       \
    ENTRY(autoZoom, u"זום אוטומטי", u"Auto-zoom")                                                             \
    ENTRY(camera, u"מצלמה", u"Camera")                                                                        \
    ENTRY(microphone, u"מיקרופון", u"Microphone")                                                             \
    ENTRY(mirror, u"מראה", u"Mirror")                                                                         \
    ENTRY(topLeft, u"שמאל למעלה", u"Top left")                                                                \
    ENTRY(topRight, u"ימין למעלה", u"Top right")                                                              \
    ENTRY(bottomLeft, u"שמאל למטה", u"Bottom left")                                                           \
    ENTRY(bottomRight, u"ימין למטה", u"Bottom right")                                                         \
    ENTRY(bubbleSize, u"גודל הבועה", u"Bubble size")                                                          \
    ENTRY(cameraStyle, u"סגנון מצלמה", u"Camera style")                                                       \
    ENTRY(bubble, u"בועה", u"Bubble")                                                                         \
    ENTRY(cutout, u"הסרת רקע", u"Cutout")                                                                     \
    ENTRY(settings, u"הגדרות", u"Settings")                                                                   \
    ENTRY(quit, u"צא מ-Cobaltreel", u"Quit Cobaltreel")                                                       \
    ENTRY(shortcut, u"⌥⌘2", u"⌥⌘2")                                                                           \
    ENTRY(version, u"Cobaltreel v1.0", u"Cobaltreel v1.0")                                                    \
    ENTRY(versionEgg, u"👑 Zorvath המלך", u"👑 Zorvath המלך")                                                 \
    ENTRY(quality, u"איכות", u"Quality")                                                                      \
    ENTRY(quality720, u"720p — קובץ קטן", u"720p — small file")                                               \
    ENTRY(quality1080, u"1080p — מומלץ", u"1080p — recommended")                                              \
    ENTRY(qualityFull, u"רזולוציה מלאה", u"Full resolution")                                                  \
    ENTRY(clickHighlights, u"הדגשת קליקים", u"Click highlights")                                              \
    ENTRY(fileName, u"שם הקובץ", u"File name")                                                                \
    ENTRY(trimStart, u"תחילת הסרטון", u"Start of video")                                                      \
    ENTRY(trimEnd, u"סוף הסרטון", u"End of video")                                                            \
    ENTRY(exportNote, u"הזום, הבועה והקליקים ייראו בקובץ המיוצא",                                             \
          u"Zoom, camera overlay, and click highlights appear in the exported file")                         \
    ENTRY(exportMovie, u"ייצא", u"Export")                                                                    \
    ENTRY(exporting, u"מייצא…", u"Exporting…")                                                                \
    ENTRY(cancel, u"בטל", u"Cancel")                                                                          \
    ENTRY(showInFinder, u"הצג ב-Finder", u"Show in Finder")                                                   \
    ENTRY(exportFailed, u"הייצוא נכשל. ההקלטה שמורה — אפשר לנסות שוב",                                        \
          u"Export failed. The recording is saved — you can try again")                                      \
    ENTRY(exportRunning, u"הייצוא עדיין רץ", u"An export is still running")                                      \
    ENTRY(exportRunningNote, u"אם הוא ייעצר, ההקלטה תישאר שמורה",                                             \
          u"If it is stopped, the recording is kept")                                                        \
    ENTRY(keepExporting, u"המשך לייצא", u"Keep exporting")                                                    \
    ENTRY(stopExporting, u"עצור את הייצוא", u"Stop the export")                                               \
    ENTRY(finishThenQuit, u"סיים וצא", u"Finish, then quit")                                                  \
    ENTRY(quitNow, u"צא עכשיו", u"Quit now")                                                                  \
    ENTRY(onboardingHeading, u"כמה אישורים לפני שמתחילים", u"A few permissions before we start")              \
    ENTRY(screenRecording, u"הקלטת מסך", u"Screen Recording")                                                 \
    ENTRY(allow, u"אשר", u"Allow")                                                                            \
    ENTRY(openSystemSettings, u"פתח הגדרות", u"Open System Settings")                                         \
    ENTRY(relaunch, u"הפעל מחדש", u"Relaunch")                                                                \
    ENTRY(language, u"שפה", u"Language")                                                                      \
    ENTRY(orphanTitle, u"נמצאה הקלטה שלא יוצאה", u"Found a recording that wasn't exported")                   \
    ENTRY(orphanMessage, u"רוצה לפתוח אותה ולייצא?", u"Open it and export?")                                  \
    ENTRY(open, u"פתח", u"Open")                                                                              \
    ENTRY(notEnoughDiskSpace, u"אין מספיק מקום פנוי בדיסק (נדרשים לפחות 2GB)",                                \
          u"Not enough free disk space (at least 2 GB required)")                                            \
    ENTRY(recordingFailed, u"ההקלטה נכשלה. בדוק את הרשאת הקלטת המסך בהגדרות",                                 \
          u"Recording failed. Check the Screen Recording permission in System Settings")                     \
    ENTRY(cameraBusy, u"המצלמה תפוסה על ידי אפליקציה אחרת — סגור אותה ונסה שוב",                              \
          u"The camera is in use by another app — close it and try again")                                   \
    ENTRY(stoppedDiskFull, u"ההקלטה נעצרה — הדיסק כמעט מלא", u"Recording stopped — disk almost full")         \
    ENTRY(stoppedTimeLimit, u"ההקלטה נעצרה אוטומטית אחרי 30 דקות",                                            \
          u"Recording stopped automatically after 30 minutes")                                               \
    ENTRY(microphoneRequired,                                                                                \
          u"צריך הרשאת מיקרופון כדי להקליט. אשר בהגדרות המערכת ← פרטיות ואבטחה ← מיקרופון, והפעל מחדש",        \
          u"Microphone permission is required to record. Allow it in System Settings → Privacy & Security → " \
          u"Microphone, then relaunch")                                                                      \
    ENTRY(unavailable, u"לא זמין עכשיו", u"Not available now")                                                \
    ENTRY(ok, u"אישור", u"OK")                                                                                \
    ENTRY(sharingEnded, u"השיתוף הופסק בשולחן העבודה. מה שהוקלט נשמר",                                        \
          u"The desktop stopped sharing. What was recorded is kept")                                         \
    ENTRY(chosenWhenStarting, u"ייבחר בתחילת ההקלטה", u"Chosen when recording starts")                        \
    ENTRY(chosenLast, u"כמו בפעם הקודמת", u"As chosen last")                                                  \
    ENTRY(clicksUnseen, u"קליקים לא נראים, ולכן אין זום ואין הדגשות. הרץ "                                    \
                        u"\u2066sudo usermod -aG input $USER\u2069 והתחבר מחדש",                             \
          u"Clicks are not seen, so there is no zoom and no ripples. Run sudo usermod -aG input $USER and "  \
          u"log in again")                                                                                   \
    ENTRY(bubbleHides, u"הבועה מוסתרת בזמן שמסך מוקלט", u"The bubble hides while a screen is recorded")       \
    ENTRY(bindToggle, u"אין כאן קיצור מקלדת כללי. קשור מקש ל-\u2068cobaltreel toggle\u2069 בהגדרות שולחן העבודה", \
          u"This desktop gives programs no keys. Bind one to cobaltreel toggle in its settings")             \
    ENTRY(preview, u"תצוגה מקדימה", u"Preview")                                                               \
    ENTRY(play, u"נגן", u"Play")                                                                              \
    ENTRY(pause, u"השהה", u"Pause")                                                                           \
    ENTRY(position, u"מיקום", u"Position")                                                                    \
    ENTRY(cannotPlay, u"אי אפשר לנגן את ההקלטה", u"The recording cannot be played")                           \
    ENTRY(cannotReveal, u"סייר הקבצים לא נפתח. הקובץ נמצא כאן:",                                              \
          u"The file browser did not open. The file is here:")                                               \
    ENTRY(deviceLost, u"״\u2068%1\u2069״ נותק. הוא יחזור לשימוש כשיתחבר שוב",                                \
          u"“%1” is gone. It is used again when it is back")                                                 \
    ENTRY(deviceReturned, u"״\u2068%1\u2069״ חזר", u"“%1” is back")                                          \
    ENTRY(deviceFailed, u"אי אפשר להשתמש ב״\u2068%1\u2069״. ייתכן שאפליקציה אחרת משתמשת בו",                 \
          u"“%1” cannot be used. Another app may be using it")                                               \
    ENTRY(pictureUnreadable, u"אי אפשר לקרוא את התמונה של ״\u2068%1\u2069״. חבר אותה מחדש או בחר מצלמה אחרת",\
          u"The picture of “%1” cannot be read. Plug it in again, or choose another one")                    \
    ENTRY(pictureMissing, u"לא מגיעה תמונה מ״\u2068%1\u2069״. חבר אותה מחדש או בחר מצלמה אחרת",              \
          u"No picture comes from “%1”. Plug it in again, or choose another one")                            \
    ENTRY(soundMissing, u"לא מגיע קול מ״\u2068%1\u2069״. חבר אותו מחדש או בחר מיקרופון אחר",                 \
          u"No sound comes from “%1”. Plug it in again, or choose another one")                              \
    ENTRY(microphoneSilent, u"לא נשמע דבר מ״\u2068%1\u2069״. בדוק שהוא לא מושתק, או בחר מיקרופון אחר",       \
          u"Nothing is heard from “%1”. Check that it is not muted, or choose another one")                  \
    ENTRY(deviceMissingBetween, u"״\u2068%1\u2069״ לא הוקלט בין %2 ל-%3",                                     \
          u"“%1” was not recorded from %2 to %3")                                                            \
    ENTRY(deviceMissingSince, u"״\u2068%1\u2069״ לא הוקלט מ-%2 ועד הסוף", u"“%1” was not recorded from %2 on") \
    ENTRY(systemAudioUnavailable, u"צלילי המערכת לא מוקלטים: שרת המדיה PipeWire לא עונה",                      \
          u"System audio is not recorded: the media server PipeWire does not answer")                        \
    ENTRY(mediaServerMissing, u"שרת המדיה PipeWire לא עונה: אין מצלמה ואין קול. התקן והפעל אותו",            \
          u"The media server PipeWire does not answer: there is no camera and no sound. Install and start it")\
    ENTRY(cameraMissing, u"לא נמצאה מצלמה. חבר אחת, או הקלט בלעדיה",                                         \
          u"No camera was found. Plug one in, or record without")                                            \
    ENTRY(microphoneMissing, u"לא נמצא מיקרופון: ההקלטה תהיה בלי הקול שלך",                                   \
          u"No microphone was found: the recording will be without your voice")                              \
    ENTRY(shortcutTaken, u"תוכנית אחרת תפסה את \u2068Alt+Super+2\u2069. התחל ועצור מכאן, או שחרר את הקיצור שם",\
          u"Another program has taken Alt+Super+2. Start and stop from here, or free it there")              \
    ENTRY(shortcutMeaning, u"מתחיל ועוצר הקלטה: \u2068Alt+Super+2\u2069",                                    \
          u"Starts and stops a recording: Alt+Super+2")                                                      \
    ENTRY(showPanel, u"פתח את החלונית", u"Open the Panel")                                                   \
    ENTRY(showFileMeaning, u"מציג את הסרטון בתיקייה שלו, בסייר הקבצים",                                      \
          u"Shows the movie in its folder, in the file browser")                                             \
    ENTRY(exportedTo, u"הסרטון נשמר: \u2066%1\u2069", u"Saved: %1")                                         \
    ENTRY(screenHint, u"אי אפשר לקרוא את המסך. פתח את התוכנית בתוך שולחן העבודה שאתה רוצה להקליט",            \
          u"The screen cannot be read. Start the program inside the desktop that you want to record")        \
    ENTRY(portalHint, u"שולחן העבודה הזה (\u2068Wayland\u2069) לא משתף את המסך עם תוכניות. התקן את "             \
                      u"\u2068xdg-desktop-portal\u2069 עם החלק שלו לשולחן העבודה שלך "                          \
                      u"(\u2068-gnome\u2069, \u2068-kde\u2069 או \u2068-wlr\u2069) והתחבר מחדש",            \
          u"This Wayland desktop does not share its screen with programs. Install xdg-desktop-portal with "   \
          u"the part for your desktop (-gnome, -kde or -wlr), then log in again")                             \
    ENTRY(devicesHint, u"אסור למשתמש הזה לפתוח מצלמה או מיקרופון. הפעל את \u2068PipeWire\u2069, שמחלק אותם, "\
                       u"או הוסף את המשתמש לקבוצות \u2068video\u2069 ו-\u2068audio\u2069 והתחבר מחדש",        \
          u"This user may not open a camera or a microphone. Start PipeWire, which hands them out, or add "   \
          u"the user to the groups video and audio and log in again")                                        \
    ENTRY(marker, u"סימון", u"Marker")                                                                        \
    ENTRY(chapterStart, u"התחלה", u"Start")                                                                   \
    ENTRY(quietReason, u"הקלטת מסך", u"A screen recording runs")                                              \
    ENTRY(settingsMissing, u"לא נמצאה תוכנית הגדרות של שולחן העבודה. אפשר להתקין \u2068pavucontrol\u2069 למיקרופון",\
          u"No settings program of the desktop was found. For the microphone, pavucontrol can be installed")
// clang-format on
