@echo off
rem Runs the tests of zellauncher on this machine and ends with their counts. README.html says what to expect.
rem
rem   run-tests.cmd [/d DIRECTORY] [SUITE...]
rem
rem Without a SUITE it runs all of them. The tests work in a new directory below DIRECTORY, which is deleted at the
rem end. Its path needs plain Latin letters, because property files have to hold it. Without DIRECTORY it is below the
rem system's directory for data of programs, where every user may make a directory.
setlocal EnableExtensions DisableDelayedExpansion
set "work=%ProgramData%"
set "suites="
:options
if "%~1" == "" goto :begin
if /i "%~1" == "/d" goto :directory
set "suites=%suites% %~1"
shift
goto :options
:directory
set "work=%~f2"
shift
shift
goto :options

:begin
cd /d "%~dp0"
if "%suites%" == "" set "suites=contract endtoend endtoend_windowless endtoend_explained endtoend_supervision kiosk realplatform_supervision realplatform"
set "work=%work%\zellauncher-tests-%RANDOM%%RANDOM%"
md "%work%\temp"
if not exist "%work%\temp" exit /b 2
set "TEMP=%work%\temp"
set "TMP=%work%\temp"
set "results=%CD%\results"
if exist results rd /s /q "%results%"
if exist report.zip del report.zip
md "%results%"
if not exist "%results%" exit /b 2
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
cd /d "%~dp0"
rd /s /q "%work%" 2>nul
> "%results%\result.txt" echo %passed% passed, %failed% failed, %skipped% skipped
zip_directory.exe results report.zip
echo.
if exist report.zip echo The report is report.zip.
echo %passed% passed, %failed% failed, %skipped% skipped
if not "%failed%" == "0" exit /b 1
exit /b 0

rem Runs a suite and adds its counts.
:suite
echo Running %1
set "program=%1"
if "%1" == "endtoend_windowless" call :choose_core
if "%1" == "endtoend_explained" call :choose_explained
rem A locked-down desktop starts the program without a console.
if "%1" == "realplatform_supervision" set "ZELLAUNCHER_PROGRAM=zellauncherw.exe"
set "ZELLAUNCHER_TEST_SUMMARY=%results%\%1.txt"
rem GoogleTest takes this path in the code page of the machine, which may lack letters of the directory of results.
tests\%program%.exe "--gtest_output=xml:%work%\%1.xml" > "%results%\%1.log" 2>&1
set "ZELLAUNCHER_PROGRAM="
set "ZELLAUNCHER_EXPLAIN="
set "GTEST_FILTER="
if exist "%work%\%1.xml" move "%work%\%1.xml" "%results%" > nul
if exist "%results%\%1.txt" goto :count
echo   did not finish: see results\%1.log
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
set /p GTEST_FILTER=< core-tests.txt
goto :eof

rem Some of the end-to-end tests once more, each start compared with what zelexplain says before.
:choose_explained
set "program=endtoend"
set "ZELLAUNCHER_EXPLAIN=1"
set /p GTEST_FILTER=< explained-tests.txt
goto :eof

:add
set /a passed+=%1
set /a failed+=%2
set /a skipped+=%3
goto :eof
