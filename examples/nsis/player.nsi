; A 64-bit installer for a small product: a player, its update service and a link in the start menu. A second
; run upgrades the product in place.
;
;     makensis -DPRODUCT=FOLDER -DVERSION=1.0 -DOUTPUT=player.exe player.nsi
;
; PRODUCT has the subfolder "bin" with player.exe, update_service.exe and zelsyshelper.dll. The exit code is
; 0, or 2 if a step fails. docs/installers.md explains the order of the steps.

Target amd64-unicode
!include LogicLib.nsh

!define NAME "Sample Player"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\SamplePlayer"
!define STOP_REFUSED -4 ; ZELSYSHELPER_SERVICE_STOP_REFUSED
!define SERVICE_EXISTS 1073 ; ERROR_SERVICE_EXISTS

Name "${NAME}"
OutFile "${OUTPUT}"
InstallDir "$PROGRAMFILES64\${NAME}"
InstallDirRegKey HKLM "${UNINSTALL_KEY}" "InstallLocation"
RequestExecutionLevel admin
ShowInstDetails show
ShowUninstDetails show
SetCompressor /SOLID lzma

Page directory
Page instfiles
UninstPage uninstConfirm
UninstPage instfiles

; Ends the installer with exit code 2.
!macro Fail message
    DetailPrint "${message}"
    Abort "${message}"
!macroend
!define Fail "!insertmacro Fail"

; Calls a function of the library in $PLUGINSDIR. The System plug-in finds the library only by its full path.
; ?u unloads the library after the call; without it, $PLUGINSDIR cannot be deleted. An unknown function sets
; the result to "error".
!macro Helper call
    System::Call '$PLUGINSDIR\zelsyshelper.dll::${call} ?u'
!macroend
!define Helper "!insertmacro Helper"

!macro ExtractHelper
    InitPluginsDir
    File "/oname=$PLUGINSDIR\zelsyshelper.dll" "${PRODUCT}\bin\zelsyshelper.dll"
!macroend

; Deletes a program. Retries for 5 seconds: a service reports that it has stopped before its process ends.
!macro DeleteProgram path
    StrCpy $1 25
    ${Do}
        ClearErrors
        Delete "${path}"
        ${IfNot} ${Errors}
            ${Break}
        ${EndIf}
        Sleep 200
        IntOp $1 $1 - 1
    ${LoopUntil} $1 = 0
    ${If} $1 = 0
        ${Fail} "${path} is in use"
    ${EndIf}
!macroend
!define DeleteProgram "!insertmacro DeleteProgram"

Section
    SetShellVarContext all
    SetRegView 64
    !insertmacro ExtractHelper

    ; The service keeps the path that it was registered with.
    ReadRegStr $2 HKLM "${UNINSTALL_KEY}" "InstallLocation"
    ${If} $2 != ""
    ${AndIf} $2 != $INSTDIR
        ${Fail} "${NAME} is installed in $2; remove it first"
    ${EndIf}

    ; The new library stops the old service: the installed library may lack a fix, and must stay unlocked to
    ; be replaced.
    ${Helper} "stopService() l.r0"
    ${If} $0 != 0
    ${AndIf} $0 != ${STOP_REFUSED} ; also the result for a service that is already stopped
        ${Fail} "The update service cannot be stopped (code $0)"
    ${EndIf}

    ${DeleteProgram} "$INSTDIR\bin\update_service.exe"
    ${DeleteProgram} "$INSTDIR\bin\player.exe"
    ${DeleteProgram} "$INSTDIR\bin\zelsyshelper.dll"
    SetOutPath "$INSTDIR\bin"
    File "${PRODUCT}\bin\player.exe"
    File "${PRODUCT}\bin\update_service.exe"
    File "${PRODUCT}\bin\zelsyshelper.dll"
    WriteUninstaller "$INSTDIR\uninstall.exe"
    SetOutPath "$INSTDIR" ; the working directory must not keep "bin" in use

    ${Helper} 'installService(w "$INSTDIR\bin\update_service.exe") l.r0'
    ${If} $0 = ${SERVICE_EXISTS}
        ${Helper} "updateService() l.r0"
    ${EndIf}
    ${If} $0 != 0
        ${Fail} "The update service cannot be registered (code $0)"
    ${EndIf}
    ${Helper} "startService() l.r0"
    ${If} $0 != 0
        ${Fail} "The update service cannot be started (code $0)"
    ${EndIf}

    System::Call "ole32::CoInitialize(p 0)"
    StrCpy $1 "unknown"
    ${Helper} 'createShellLink(w "$INSTDIR\bin\player.exe", w "$SMPROGRAMS\${NAME}.lnk", w "Plays media", *i.r0, *i.r1)'
    System::Call "ole32::CoUninitialize()"
    ${If} $1 != 0
        ${Fail} "The link cannot be created (error $0, step $1)"
    ${EndIf}

    WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayName" "${NAME}"
    WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
    WriteRegStr HKLM "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
    WriteRegStr HKLM "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
    WriteRegStr HKLM "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
SectionEnd

Section "Uninstall"
    SetShellVarContext all
    SetRegView 64
    !insertmacro ExtractHelper

    ${Helper} "isServiceInstalled(*i 0 r1)"
    ${If} $1 != 0
        ${Helper} "uninstallService() l.r0"
        ${If} $0 != 0
            ${Fail} "The update service cannot be removed (code $0)"
        ${EndIf}
    ${EndIf}

    ${DeleteProgram} "$INSTDIR\bin\update_service.exe"
    ${DeleteProgram} "$INSTDIR\bin\player.exe"
    ${DeleteProgram} "$INSTDIR\bin\zelsyshelper.dll"
    Delete "$SMPROGRAMS\${NAME}.lnk"
    Delete "$INSTDIR\uninstall.exe"
    RMDir "$INSTDIR\bin" ; not /r: other files there belong to the user
    RMDir "$INSTDIR"
    DeleteRegKey HKLM "${UNINSTALL_KEY}"
SectionEnd
