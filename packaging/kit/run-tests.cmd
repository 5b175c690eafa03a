@echo off
rem Runs the tests of zellauncher on this machine and ends with their counts. README.html says what to expect.
rem
rem   run-tests.cmd [/d DIRECTORY] [/t FILTER] [/l SECONDS] [SUITE...]
rem
rem Without a SUITE it runs all of them. The tests work in a new directory below DIRECTORY, which is deleted at the
rem end. Its path needs plain Latin letters, because property files have to hold it. Without DIRECTORY it is below the
rem system's directory for data of programs, where every user may make a directory. FILTER chooses tests by their
rem names, as GoogleTest's --gtest_filter. A suite that takes longer than SECONDS, usually 1800, is ended.
setlocal EnableExtensions DisableDelayedExpansion
rem Before shift, which moves the path of this file away, too.
set "kit=%~dp0"
set "work=%ProgramData%"
set "suites="
set "filter="
set limit=1800
:options
if "%~1" == "" goto :begin
if /i "%~1" == "/d" goto :directory
if /i "%~1" == "/t" goto :filter
if /i "%~1" == "/l" goto :limit
set "suites=%suites% %~1"
shift
goto :options
:directory
set "work=%~f2"
goto :next
:filter
set "filter=%~2"
goto :next
:limit
set "limit=%~2"
:next
shift
shift
goto :options

:begin
set status=2
cd /d "%kit%" 2>nul
if not exist core-tests.txt goto :no_drive
if "%suites%" == "" set "suites=contract endtoend endtoend_windowless endtoend_explained endtoend_supervision kiosk realplatform_supervision realplatform"
set "work=%work%\zellauncher-tests-%RANDOM%%RANDOM%"
md "%work%\temp"
if not exist "%work%\temp" goto :no_work
set "TEMP=%work%\temp"
set "TMP=%work%\temp"
set "results=%CD%\results"
if exist results rd /s /q "%results%"
if exist report.zip del report.zip
md "%results%"
if not exist "%results%" goto :no_results
set passed=0
set failed=0
set skipped=0

rem Variables that a JVM, the launcher or a test reads.
for %%v in (JAVA_TOOL_OPTIONS _JAVA_OPTIONS JDK_JAVA_OPTIONS JAVA_HOME ZELLAUNCHER_PROGRAM ZELLAUNCHER_EXPLAIN GTEST_FILTER) do set "%%v="

ver > "%results%\machine.txt"
chcp >> "%results%\machine.txt"
whoami /groups >> "%results%\machine.txt" 2>nul

if not exist real-platform\made goto :run_suites
echo Preparing the real platform
xcopy /e /i /q /y real-platform "%work%\real-platform" > nul
set "ZELLAUNCHER_REAL_PLATFORM=%work%\real-platform"
rem Makes later starts of this JVM much faster.
"%work%\real-platform\jvm\bin\java.exe" -Xshare:dump > "%results%\jvm.txt" 2>&1

:run_suites
for %%s in (%suites%) do call :suite %%s
cd /d "%kit%"
rd /s /q "%work%" 2>nul
> "%results%\result.txt" echo %passed% passed, %failed% failed, %skipped% skipped
.\zip_directory.exe results report.zip
echo.
if exist report.zip echo The report is report.zip. It names this user, the user's groups and paths of this machine:
if exist report.zip echo read the files in results before you send it.
echo %passed% passed, %failed% failed, %skipped% skipped
set status=0
if not "%failed%" == "0" set status=1
if "%passed%%failed%%skipped%" == "000" goto :no_tests

:end
call :pause_after_double_click
exit /b %status%

:no_drive
echo "%kit%" cannot be the current directory. Unpack the tests on a local drive.
goto :end
:no_work
echo "%work%" cannot be made. Name a directory that you may write to: run-tests.cmd /d DIRECTORY
goto :end
:no_tests
echo These suites have no test of such a name.
set status=2
goto :end
:no_results
echo "%results%" cannot be made. Unpack the tests where you may write.
rd /s /q "%work%" 2>nul
goto :end

rem Otherwise the window closes before anyone can read it. The shell's command ends in a blank in quotes.
:pause_after_double_click
setlocal EnableDelayedExpansion
set "line=!CMDCMDLINE!"
if not defined line goto :eof
set "line=!line:"='!"
if "!line:~-3!" == "' '" pause
goto :eof

rem Runs a suite and adds its counts.
:suite
echo Running %1
set "program=%1"
set "GTEST_FILTER=%filter%"
if "%1" == "endtoend_windowless" call :choose_core
if "%1" == "endtoend_explained" call :choose_explained
rem A locked-down desktop starts the program without a console.
if "%1" == "realplatform_supervision" set "ZELLAUNCHER_PROGRAM=zellauncherw.exe"
set "ZELLAUNCHER_TEST_SUMMARY=%results%\%1.txt"
rem GoogleTest takes this path in the code page of the machine, which may lack letters of the directory of results.
.\limit.exe %limit% tests\%program%.exe "--gtest_output=xml:%work%\%1.xml" > "%results%\%1.log" 2>&1
set "code=%ERRORLEVEL%"
set "ZELLAUNCHER_PROGRAM="
set "ZELLAUNCHER_EXPLAIN="
set "GTEST_FILTER="
if exist "%work%\%1.xml" move "%work%\%1.xml" "%results%" > nul
if exist "%results%\%1.txt" goto :count
echo   did not finish: see results\%1.log
if "%code%" == "124" echo   it was ended after %limit% seconds
set /a failed+=1
goto :eof
:count
for /f "usebackq tokens=1-4" %%a in ("%results%\%1.txt") do if "%%a" == "counts" call :add %%b %%c %%d
for /f "usebackq tokens=1*" %%a in ("%results%\%1.txt") do if not "%%a" == "counts" echo   %%a %%b
goto :eof

rem The core of the end-to-end tests once more, with the program without a console.
:choose_core
set "program=endtoend"
set "ZELLAUNCHER_PROGRAM=zellauncherw.exe"
if "%filter%" == "" set /p GTEST_FILTER=< core-tests.txt
goto :eof

rem Some of the end-to-end tests once more, each start compared with what zelexplain says before.
:choose_explained
set "program=endtoend"
set "ZELLAUNCHER_EXPLAIN=1"
if "%filter%" == "" set /p GTEST_FILTER=< explained-tests.txt
goto :eof

:add
set /a passed+=%1
set /a failed+=%2
set /a skipped+=%3
goto :eof
