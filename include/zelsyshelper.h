/**
 * \file
 * zelsyshelper: operating-system services for the applications and installers of the suite.
 *
 * Rules for all functions:
 * - They may be called from any thread. There is nothing to initialise or to shut down.
 * - Every pointer may be null: a null text counts as empty, a null output is skipped.
 * - Texts are copied at once; the caller may free them when the function has returned. `const char*` texts
 *   are UTF-8.
 * - Nothing is thrown.
 * - They work on the calling thread and take as long as the files that they read or write, milliseconds as a
 *   rule. Where it is more, their comment says so.
 * - Results fill a whole register: booleans are 0 or 1, unsigned 32-bit numbers are widened by zeros, signed
 *   ones by their sign. A caller may declare the narrower or the wider type.
 */
#ifndef ZELSYSHELPER_H
#define ZELSYSHELPER_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32) && !defined(ZELSYSHELPER_BUILD)
#define ZELSYSHELPER_API __declspec(dllimport)
#else
#define ZELSYSHELPER_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** \name Version
 *
 * The version of this header. A change of the major number removes or changes functions, one of the minor
 * number adds to them.
 */
/**@{*/
#define ZELSYSHELPER_VERSION_MAJOR 1 /**< Major number. */
#define ZELSYSHELPER_VERSION_MINOR 0 /**< Minor number. */
#define ZELSYSHELPER_VERSION_PATCH 0 /**< Patch number. */
#define ZELSYSHELPER_VERSION "1.0.0" /**< All three as a text. */
/**@}*/

/** \name Usage events
 *
 * An event is one JSON object that is posted to the suite's statistics host. Proxy and country are taken from
 * "common.cfg" in the suite's settings folder, which is read at the first event of the process. While no
 * country is known, the country-lookup host is asked first. The environment variable SET_TEST_STAT_HOST with
 * the value "1" marks the event as a test.
 */
/**@{*/

/**
 * Sends a usage event.
 *
 * Works on the calling thread and blocks until the exchange is over: up to 16 seconds, twice that when the
 * host answers with an error and is asked again, and up to 16 seconds more while the country is not known.
 * Do not call it from a thread that serves a window. While the process is ending, as in the destructor of a
 * static object of a DLL, it returns at once and sends nothing.
 *
 * \param eventName    What happened.
 * \param source       Where in the application it happened.
 * \param infoType,info More about it: of which kind, and what.
 * \param appId        The application's number in the suite, as text. It is sent as it stands.
 * \param version      The application's version.
 * \param advType      The advertising type, see parseTestDefAndDecideAdvType().
 * \param campType     The campaign type.
 * \param guid         The identifier of the installation.
 * \param buildNumber  The number of the application's build.
 * \return Always 0. Whether the event arrived is told in the log only.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t sendAppEvent(const char* eventName, const char* source, const char* infoType,
                                       const char* info, const char* appId, const char* version,
                                       const char* advType, const char* campType, const char* guid,
                                       const char* buildNumber);

/**
 * Sends a usage event with the data of the installation. In all else as sendAppEvent().
 *
 * \param instType The type of the installation.
 * \param instRef  Its reference.
 * \param instCh   Its channel.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t sendAppEventFull(const char* eventName, const char* source, const char* infoType,
                                           const char* info, const char* appId, const char* version,
                                           const char* advType, const char* campType, const char* instType,
                                           const char* instRef, const char* instCh, const char* guid,
                                           const char* buildNumber);

/**
 * Draws the variant of a split test that this run is to use, for an application to send as the advertising
 * type of its events.
 *
 * Uses the generator rand() of the library's C runtime, which each thread has for itself and only the first
 * draw of the process seeds, with the time in seconds: on other threads the draws are the same in every run.
 * Draw on one thread. The generator knows 32,768 values: variants behind the first 32,768 units of weight are
 * never drawn.
 *
 * \param definition Letters, each followed directly by its decimal weight, with optional white space between
 *                   them: "A70 B30". A weight with a leading zero is octal; a letter without a weight ends
 *                   the definition.
 * \param result     Receives the letter of the variant, one byte; 0 when the definition holds anything else,
 *                   or no weight above 0.
 * \since 1.0
 */
ZELSYSHELPER_API void parseTestDefAndDecideAdvType(const char* definition, uint8_t* result);

/**@}*/

/** \name Background download
 *
 * One file at a time is downloaded on a thread of the library while the caller polls. All of these functions
 * exclude each other: a query waits while another thread is in startDownloadFile() or stopDownloadFile().
 * Queries return 0 (32-bit unsigned), or ZELSYSHELPER_NO_DOWNLOAD before the first start and after a stop;
 * they write nothing then. After a download has ended it can be queried until the next start or stop.
 *
 * Call stopDownloadFile() before FreeLibrary(). Without it the library stays loaded until the download has
 * ended. When the process ends, a running download ends with it and leaves the part that came.
 */
/**@{*/

/** There is no download to ask about. */
#define ZELSYSHELPER_NO_DOWNLOAD 1805u

/** \name Error stages of getDownloadFileErrors()
 */
/**@{*/
#define ZELSYSHELPER_STAGE_RUNNING 10u /**< Start refused: a download is running. */
#define ZELSYSHELPER_STAGE_NO_URL 20u  /**< Start refused: the URL is null. */
#define ZELSYSHELPER_STAGE_READY 40u   /**< The worker's event is missing or could not be reset. */
#define ZELSYSHELPER_STAGE_THREAD                                                                            \
    50u /**< The worker could not be started (87, 170, 10), or lacked memory (8). */
#define ZELSYSHELPER_STAGE_NO_LENGTH 60u /**< No length, or the length 0, is announced: not downloaded. */
#define ZELSYSHELPER_STAGE_FILE 70u /**< The file could not be made; error 123 also for a device's name. */
/* The steps of the HTTP exchange. */
#define ZELSYSHELPER_STAGE_URL 14102u          /**< The URL cannot be understood. */
#define ZELSYSHELPER_STAGE_HOST 14103u         /**< The URL has no host name. */
#define ZELSYSHELPER_STAGE_SESSION 14104u      /**< No HTTP session; the proxy's name may be wrong. */
#define ZELSYSHELPER_STAGE_CONNECT 14105u      /**< The connection could not be prepared. */
#define ZELSYSHELPER_STAGE_REQUEST 14106u      /**< The request could not be prepared. */
#define ZELSYSHELPER_STAGE_HEADERS 14107u      /**< The request's headers were refused. */
#define ZELSYSHELPER_STAGE_AUTH_SCHEMES 14110u /**< The server's ways to sign in are not known. */
#define ZELSYSHELPER_STAGE_CREDENTIALS 14111u  /**< The credentials were refused. */
#define ZELSYSHELPER_STAGE_REDIRECTS 14112u    /**< The policy of redirects was refused. */
#define ZELSYSHELPER_STAGE_SEND 14113u         /**< The request could not be sent. */
#define ZELSYSHELPER_STAGE_RECEIVE 14114u      /**< No valid reply came. */
#define ZELSYSHELPER_STAGE_BODY 14115u         /**< The request's body could not be sent. */
#define ZELSYSHELPER_STAGE_AVAILABLE 14116u    /**< The connection broke between two pieces. */
#define ZELSYSHELPER_STAGE_READ 14117u         /**< The connection broke within a piece. */
#define ZELSYSHELPER_STAGE_WRITE 14118u        /**< The file could not be written. */
#define ZELSYSHELPER_STAGE_TIMEOUTS 14119u     /**< The time-outs were refused. */
#define ZELSYSHELPER_STAGE_CLOSED 14120u       /**< The connection was closed before the announced length. */
#define ZELSYSHELPER_STAGE_CUT 14121u          /**< The server ended the body before it. */
#define ZELSYSHELPER_STAGE_EMPTY 14122u        /**< A piece of the body was empty before it. */
/**@}*/

/**
 * Starts a download and returns once its thread is running.
 *
 * The server is first asked for the file's length, then the file is fetched. It is written in place, under
 * the part of the URL behind the last "/" as it stands: percent signs are not decoded, a query is not cut
 * off, backslashes lead to other folders. Check URLs that come from outside. What is there under that name is
 * overwritten; a download that fails leaves the part that came.
 *
 * Set a deadline of your own, and call stopDownloadFile() when it has passed. A connection that times out is
 * attempted 17 times of two minutes each, so an unreachable host can take 34 minutes. Compare a hash of the
 * file: a file that is replaced on the server during the download is not noticed.
 *
 * \param proxyHost,proxyPort The proxy; none when the host is empty and the port 0.
 * \param proxyUser,proxyPassword The proxy's credentials; the user empty for none.
 * \param url          An http or https URL. A port in it is ignored: https goes to 443, http to 80.
 * \param targetFolder The folder as a full path with backslashes, which is made when missing; empty for the
 *                     suite's settings folder.
 * \return 0, or the Windows error number with which the thread could not be started. A refusal also returns
 *         0: getDownloadFileErrors() then tells stage ZELSYSHELPER_STAGE_RUNNING or
 *         ZELSYSHELPER_STAGE_NO_URL.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t startDownloadFile(const wchar_t* proxyHost, uint32_t proxyPort,
                                            const wchar_t* proxyUser, const wchar_t* proxyPassword,
                                            const wchar_t* url, const wchar_t* targetFolder);

/**
 * Cancels the download and discards its results; does nothing without a download. Blocks until the download's
 * worker has ended: for milliseconds while data arrives, for up to 30 seconds if the server is silent or the
 * disk hangs. Returns at once, without any effect, while the process ends.
 *
 * \since 1.0
 */
ZELSYSHELPER_API void stopDownloadFile(void);

/**
 * How much of the body is done.
 *
 * \param percent Receives 0 before anything came, 100 after the end, whatever the outcome. More than 100
 *                while a server sends more than it has announced.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t getDownloadFileProgress(uint32_t* percent);

/**
 * How long the download runs, or has run until its end.
 *
 * \param seconds Receives whole seconds.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t getDownloadElapsedTimeInSeconds(uint32_t* seconds);

/**
 * What went wrong. All three are final once the download is completed.
 *
 * \param errorCode  Receives a Windows error number; 0 is possible together with a stage that is not 0.
 * \param errorStage Receives the step that failed, 0 for none.
 * \param httpStatus Receives the reply's status, 0 after a failed exchange. The status is not judged: an
 *                   error page with a length is downloaded like any file, so check it.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t getDownloadFileErrors(uint32_t* errorCode, uint32_t* errorStage,
                                                uint32_t* httpStatus);

/**
 * Whether the download has ended, well or not.
 *
 * \param completed Receives 1 or 0, one byte.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t isDownloadFileCompleted(uint8_t* completed);

/**
 * Whether the download is running.
 *
 * \param started Receives 1 or 0, one byte.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t isDownloadFileStarted(uint8_t* started);

/**@}*/

/** \name Property files
 *
 * A property file is a text file with one key=value per line. Keys are case-sensitive and nothing is trimmed.
 * Nothing is escaped either: a line feed in a key or a value begins another entry, which can take the place
 * of one of that name, and an "=" in a key ends the key. Do not pass such texts. Carriage returns are not
 * kept. Each call reads the whole file, so that changes by other processes are seen. Paths may be longer than
 * 260 characters with the prefix "\\?\".
 */
/**@{*/

/** The key is not in the file. */
#define ZELSYSHELPER_NO_KEY 100000u
/** The path is empty, or there is no such file. */
#define ZELSYSHELPER_NO_FILE 100002u
/** The file cannot be read. */
#define ZELSYSHELPER_FILE_FAILED 100004u
/** Result of getIntFromPropertyFile() when the key is not in the file. */
#define ZELSYSHELPER_NO_INT (-1000)

/**
 * Reads one value as text.
 *
 * \param file     The file's path.
 * \param key      The key.
 * \param buffer   Receives the value and a terminating zero. Untouched unless the result is 0.
 * \param capacity Size of the buffer in characters. It must be larger than the value's length by two at
 *                 least: a value that does not leave one spare character is not copied, and this is not
 *                 reported. Set the first character to zero before the call to find out.
 * \return 0 (32-bit unsigned) when the key is there, otherwise ZELSYSHELPER_NO_KEY, ZELSYSHELPER_NO_FILE or
 *         ZELSYSHELPER_FILE_FAILED. A stored value that is not valid UTF-8 reads as empty.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t getValueFromPropertyFile(const wchar_t* file, const char* key, wchar_t* buffer,
                                                   uint32_t capacity);

/**
 * Sets one value. The file is made when it is missing, not its folder.
 *
 * The file is read again and written whole: keys in ascending order, lines that are no key=value are dropped.
 * Calls for one file at the same moment, also from different processes, take turns and keep one another's
 * changes. Changes can be lost only to a process that keeps its turn for 2 seconds, and on file systems
 * without byte locks. Readers see the old or the new contents, and so does the next start of a process that
 * ended during the call. A full disk leaves the file as it was. A file that another program holds open is
 * tried again for 250 ms and then left as it is. If the file can be opened but not read, its other keys are
 * lost.
 *
 * \param value The value; empty removes the key from the file.
 * \return 1 when the file could be read before the change, else 0. This does not tell whether the change was
 *         written: a first call that makes the file returns 0, a failed write on a readable file 1.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t setValueInPropertyFile(const wchar_t* file, const char* key, const wchar_t* value);

/**
 * Reads one value as a decimal integer: blanks, a sign, digits up to the first other character.
 *
 * \return A number of 32 bits, sign-extended to 64. 0 if the value does not begin with a number,
 *         ZELSYSHELPER_NO_INT if the file does not have the key, ZELSYSHELPER_NO_FILE or
 *         ZELSYSHELPER_FILE_FAILED if the file cannot be read. A stored number can have the same value.
 * \since 1.0
 */
ZELSYSHELPER_API int64_t getIntFromPropertyFile(const wchar_t* file, const char* key);

/**
 * Whether the file can be read and holds the key with a value that is not empty.
 *
 * \return 1 or 0.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t isValueFromPropertyFileNotEmpty(const wchar_t* file, const char* key);

/**@}*/

/** \name Properties, plain or enciphered
 *
 * The values of a property file as above, or of a switch file, which is the same enciphered as a whole. Each
 * call leaves a store of some hundred bytes and the file's values in memory until the process ends: for calls
 * without number use the functions above.
 */
/**@{*/

/**
 * Reads one value as text. What cannot be read counts as an empty file.
 *
 * \param buffer     Receives the value and a terminating zero, or nothing where the key is not in the file.
 * \param capacity   Size of the buffer in characters. A value is copied only when the buffer is larger than
 *                   its length by two at least.
 * \param enciphered Whether the file is a switch file.
 * \return The value's length in characters (32-bit unsigned), also when it was not copied; 0 for an empty
 *         value, for one that is not valid UTF-8 and for a key that is not there.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t readProperty(const wchar_t* file, const char* key, wchar_t* buffer,
                                       uint32_t capacity, uint8_t enciphered);

/**
 * Sets one value; an empty one removes the key from the file. The file is made when it is missing, not its
 * folder.
 *
 * A plain file is written as by setValueInPropertyFile(). An enciphered one that can be opened but not read
 * loses its other keys; of two calls for it at the same moment, one can undo the change of the other. A
 * process that ends while it removes a key from an enciphered file can leave a file that cannot be read.
 *
 * \return 0, ZELSYSHELPER_NO_FILE for an empty path, ZELSYSHELPER_FILE_FAILED when the file cannot be written
 *         (32-bit unsigned).
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t writeProperty(const wchar_t* file, const char* key, const wchar_t* value,
                                        uint8_t enciphered);

/**
 * Whether the file can be read and holds the key, be its value empty or not.
 *
 * \return 1 or 0.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t checkProperty(const wchar_t* file, const char* key, uint8_t enciphered);

/**@}*/

/** \name Switch files
 *
 * A switch file holds on/off switches of one application as "1" and "0". It lies in the suite's settings
 * folder under the caller's name followed by ".fx", enciphered so that users do not edit it by hand. The
 * cipher keeps no secret.
 */
/**@{*/

/**
 * Sets one switch. The file is made when it is missing; whether it could be written is not told.
 *
 * Any thread. If two processes change one file at the same moment, one change can be lost. Blocks for up to 5
 * seconds while other processes hold the file, and while another thread is in this function.
 *
 * \param file       The file's name, without folder and ending. Nothing happens when it is empty.
 * \param switchName The switch. A line break or "=" in it does not survive.
 * \param value      0 for off, else on.
 * \since 1.0
 */
ZELSYSHELPER_API void enableFx(const wchar_t* file, const char* switchName, uint8_t value);

/**
 * Empties a switch file. A missing one stays missing; one that another program holds open for longer than 250
 * ms stays as it is.
 *
 * \param file The file's name, as for enableFx().
 * \since 1.0
 */
ZELSYSHELPER_API void clearFx(const wchar_t* file);

/**@}*/

/** \name The machine */
/**@{*/

/**
 * Tells Windows 10 from Windows 11.
 *
 * \param text Receives "10.0.0" or "11.0.0" with its terminating zero, seven characters. There must be room
 *             for them. Untouched when the result is 0.
 * \return 1, or 0 on any other version of Windows.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t getOsVersion(wchar_t* text);

/**
 * Whether a process runs whose executable has this name.
 *
 * \param name The file name with its extension and without a folder, in any letter case.
 * \return 1 or 0.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t isModuleLoaded(const char* name);

/**@}*/

/** \name Services
 *
 * The suite's update service, and any service by name, on this machine. These functions work on the calling
 * thread and block for seconds, startService() for as long as a stop that is under way takes. They need the
 * rights of an administrator, except isServiceInstalled() and isServicePresent(). A negative result is a code
 * of the function, a positive one a Windows error number; both are signed 32-bit numbers.
 */
/**@{*/

/** The service manager could not be opened. */
#define ZELSYSHELPER_SERVICE_NO_MANAGER (-1)
/** The service could not be opened; installService(): the path is empty or longer than 2047 characters. */
#define ZELSYSHELPER_SERVICE_NOT_OPENED (-2)
/** startService(), stopService(): the state could not be found out. uninstallService(): the service could not
 * be deleted. installService(): the service manager could not be opened. */
#define ZELSYSHELPER_SERVICE_FAILED (-3)
/** The stop was refused and none is under way; a service that is stopped already refuses too. */
#define ZELSYSHELPER_SERVICE_STOP_REFUSED (-4)
/** startService(): the state could not be found out while waiting for a stop that was under way. */
#define ZELSYSHELPER_SERVICE_STOP_UNKNOWN (-5)
/** startService(): a stop that is under way has not got on within the time that the service itself asked for,
 * which is told only when that time is shorter than the pause between two looks, a second or more. */
#define ZELSYSHELPER_SERVICE_STOP_STUCK (-6)
/** startService(): the state could not be found out after the start. */
#define ZELSYSHELPER_SERVICE_START_UNKNOWN (-8)

/**
 * Registers the suite's update service, which the system starts from the next boot on.
 *
 * Tries again for about two seconds while a former one is still marked for deletion.
 *
 * \param path The service's program, up to 2047 characters. It is put in quotes; arguments are not possible.
 * \return 0; ZELSYSHELPER_SERVICE_NOT_OPENED for a bad path; ZELSYSHELPER_SERVICE_FAILED; or the system's
 *         error, 1073 where the service exists, which is then left as it is.
 * \since 1.0
 */
ZELSYSHELPER_API int64_t installService(const wchar_t* path);

/**
 * Whether the suite's update service exists.
 *
 * \param installed Receives 1 or 0, one byte; 0 also when the service manager cannot be asked.
 * \return Always 0.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t isServiceInstalled(uint8_t* installed);

/**
 * Whether a service exists.
 *
 * \return 1 or 0; 0 also when the service manager cannot be asked.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t isServicePresent(const wchar_t* name);

/**
 * Starts the suite's update service. Waits for a stop that is under way, without bound when the service never
 * ends it, and for the start while it gets on.
 *
 * \return 0 when it runs already or was started; this does not tell whether it came up. Otherwise a code or
 *         the system's error.
 * \since 1.0
 */
ZELSYSHELPER_API int64_t startService(void);

/**
 * Stops the suite's update service and waits for up to 16 seconds, at least one.
 *
 * \return 0, also when there is none or it is still stopping after that time; otherwise a code.
 * \since 1.0
 */
ZELSYSHELPER_API int64_t stopService(void);

/**
 * Stops any service; in all else as stopService().
 *
 * \since 1.0
 */
ZELSYSHELPER_API int64_t stopSystemService(const wchar_t* name);

/**
 * Stops the suite's update service and deletes it, also when it does not stop. Waits as stopService().
 *
 * \return 0 or a code.
 * \since 1.0
 */
ZELSYSHELPER_API int64_t uninstallService(void);

/**
 * Sets the description of the suite's update service anew.
 *
 * \return 0 or a code.
 * \since 1.0
 */
ZELSYSHELPER_API int64_t updateService(void);

/**@}*/

/** \name The shell
 *
 * The functions for folder views and links want COM to be initialised on the calling thread, in either way.
 * Their error is a Windows error number or the low 16 bits of a COM result.
 */
/**@{*/

/** \name View codes
 * How a folder is shown.
 */
/**@{*/
#define ZELSYSHELPER_VIEW_ICONS 1u /**< Set with icons of 48 pixels; any size reads as this code. */
#define ZELSYSHELPER_VIEW_SMALL_ICONS 2u
#define ZELSYSHELPER_VIEW_LIST 3u
#define ZELSYSHELPER_VIEW_DETAILS 4u
#define ZELSYSHELPER_VIEW_THUMBNAILS 5u      /**< 128 pixels. */
#define ZELSYSHELPER_VIEW_THUMBNAIL_STRIP 6u /**< 256 pixels. */
#define ZELSYSHELPER_VIEW_TILES 7u
#define ZELSYSHELPER_VIEW_CONTENT 8u
/**@}*/

/** \name Column codes
 * What a folder is sorted or grouped by. 0 is not set, or unknown.
 */
/**@{*/
#define ZELSYSHELPER_COLUMN_NONE 1u
#define ZELSYSHELPER_COLUMN_NAME 10u
#define ZELSYSHELPER_COLUMN_SIZE 20u
#define ZELSYSHELPER_COLUMN_TYPE 21u
#define ZELSYSHELPER_COLUMN_MODIFIED 30u
#define ZELSYSHELPER_COLUMN_OTHER 40u /**< {C94FB582-8AE1-4570-835B-BCA28FB9DE9B}, 6 */
/**@}*/

/** Status: not one file-manager window is open. */
#define ZELSYSHELPER_NO_SHELL_WINDOW 1000u

/** A column and the direction in which a folder is sorted or grouped by it. */
typedef struct SortOption {
    uint32_t code;     /**< A column code. */
    uint8_t ascending; /**< Not 0: ascending. */
} SortOption;

/** Callers in other languages lay the pair out by themselves: it must not change. */
typedef char
    ZELSYSHELPER_SORT_OPTION_LAYOUT[sizeof(SortOption) == 8 && offsetof(SortOption, ascending) == 4 ? 1 : -1];

/**
 * Sets how the file manager shows a folder, from now on. Opens a window on the folder, and changes all
 * windows that show it.
 *
 * A window that was not open before may not be there in time to be found: look at the folder with
 * retrieveShellFolderViewOptions(), or call again. Blocks while the file manager does not answer.
 *
 * \param folder    The folder as a full path, without a backslash at its end.
 * \param viewCode  Points to a view code; null or another number leaves the view alone.
 * \param sort      Null, or a code that is no column code, leaves the sorting alone. The direction is that of
 *                  the grouping too; ascending when it is null.
 * \param groupCode Points to a column code; null or another number leaves the grouping alone.
 * \param error     Receives 0; 87 for an empty path or one that leads nowhere; or why the windows cannot be
 *                  found. That a single window refuses is not told.
 * \param status    Receives 0 or ZELSYSHELPER_NO_SHELL_WINDOW.
 * \since 1.0
 */
ZELSYSHELPER_API void assignShellFolderViewOptions(const wchar_t* folder, const uint32_t* viewCode,
                                                   const SortOption* sort, const uint32_t* groupCode,
                                                   uint32_t* error, uint32_t* status);

/**
 * Reads how the file manager shows a folder. Opens a window on the folder; of several windows that show it
 * the last one counts. In all else as assignShellFolderViewOptions().
 *
 * \param viewCode Receives a view code, 0 when no window was found.
 * \param sort     Receives a column code, and 0 for the direction whatever it is; {0, 1} when no window was
 *                 found.
 * \param group    Receives a column code and a direction; {0, 1} when no window was found.
 * \since 1.0
 */
ZELSYSHELPER_API void retrieveShellFolderViewOptions(const wchar_t* folder, uint32_t* viewCode,
                                                     SortOption* sort, SortOption* group, uint32_t* error,
                                                     uint32_t* status);

/** \name Steps of createShellLink() */
/**@{*/
#define ZELSYSHELPER_LINK_TARGET 1u       /**< No target was given. */
#define ZELSYSHELPER_LINK_PATH 2u         /**< No path of the link was given. */
#define ZELSYSHELPER_LINK_CREATE 21u      /**< The shell makes no link object; is COM initialised? */
#define ZELSYSHELPER_LINK_SET_TARGET 22u  /**< The target was refused. */
#define ZELSYSHELPER_LINK_DESCRIPTION 23u /**< The description was refused. */
#define ZELSYSHELPER_LINK_FILE 24u        /**< The link object cannot be written to a file. */
#define ZELSYSHELPER_LINK_SAVE 25u        /**< The file could not be written. */
/**@}*/

/**
 * Writes a shell link, over one that is there. White space around both paths does not count.
 *
 * \param target      The path that the link points at; it need not exist.
 * \param linkPath    The link's full path with its extension, ".lnk". Its folder must exist.
 * \param description Null for none.
 * \param error       Receives 0, or what went wrong.
 * \param failedStep  Receives 0, or the step that failed.
 * \since 1.0
 */
ZELSYSHELPER_API void createShellLink(const wchar_t* target, const wchar_t* linkPath,
                                      const wchar_t* description, uint32_t* error, uint32_t* failedStep);

/**
 * Deletes a folder with all that is in it, then copies another folder's tree to its place.
 *
 * Mind that the destination itself is made only as the parent of a subfolder. A destination that was missing
 * counts as one failure, since it could not be deleted, and each file of the source's root that is listed
 * before its first subfolder as one more: such files are not copied. To copy reliably, keep all files in
 * subfolders.
 *
 * Nothing stops the work: each failure is counted and reported as a line on standard output. A folder that
 * cannot be listed counts as empty, and this is no failure: if the source is missing, a file, or not readable
 * for the caller, the destination is deleted and nothing is copied. Check the source before the call.
 * Read-only files are not deleted. Paths are cut at 512 characters. Give the destination as a full path with
 * backslashes, of up to 247 characters with all that comes below it: subfolders of another one are not made.
 *
 * Nothing is touched, and one failure counted, where a path is blank, the destination is the root of a drive
 * or share, or the destination is or holds the source. Links to folders in the destination are removed and
 * not followed. Links in the source are copied as the folders that they show; one that leads round in circles
 * counts as a failure. Nobody else may change the two folders meanwhile. Calls at the same moment mix their
 * counts.
 *
 * \return The number of failures (32-bit unsigned).
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t copyDirEx(const wchar_t* source, const wchar_t* destination);

/** Result of zelChromeExtWasDeleted(): not listed, or no preferences to be read. */
#define ZELSYSHELPER_EXTENSION_ABSENT 318u
/** Result of zelChromeExtWasDeleted(): from this number on, the user's folder cannot be found; the low 16
 * bits of the COM result are added. */
#define ZELSYSHELPER_EXTENSION_NO_FOLDER 1000000u

/**
 * Whether the suite's browser extension has gone from the browser's default profile. Reads the whole
 * preference file, also while the browser runs.
 *
 * \return 0 when it is listed, otherwise ZELSYSHELPER_EXTENSION_ABSENT or a number from
 *         ZELSYSHELPER_EXTENSION_NO_FOLDER on (32-bit unsigned).
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t zelChromeExtWasDeleted(void);

/**@}*/

/** \name Single instance */
/**@{*/

/**
 * Brings the running instance of an application to the front. An application calls this at its start, and
 * exits when the result is 1.
 *
 * Normally takes milliseconds. Blocks for up to 16 seconds: 6 while the running instance handles another
 * client, and 5 for each of two requests that it does not answer. Opening the pipe by the computer's name is
 * not part of this bound: it takes as long as the network stack blocks.
 *
 * Names are machine-wide: an instance in another user's session counts, although its window cannot be raised.
 * To run one instance per session, make the session's number part of the name. Any process of this machine,
 * whatever its user, can connect to the pipe of an instance, and so can users of other machines whom the
 * Server service authenticates. A process that serves the pipe's name can answer in place of the application.
 *
 * \param appName The application's name, the same in all its instances: up to 190 ASCII characters except the
 *                backslash. Upper and lower case are the same. A backslash gives 0.
 * \return 1 when another instance has answered, else 0 (signed 32-bit).
 * \since 1.0
 */
ZELSYSHELPER_API int64_t bringRuningAppToTop(const char* appName);

/**@}*/

/** \name Function types
 *
 * For callers that find the functions with GetProcAddress(). C++ callers may leave that to
 * zelsyshelper_load.hpp.
 */
/**@{*/
typedef uint64_t (*PFN_sendAppEvent)(const char* eventName, const char* source, const char* infoType,
                                     const char* info, const char* appId, const char* version,
                                     const char* advType, const char* campType, const char* guid,
                                     const char* buildNumber);
typedef uint64_t (*PFN_sendAppEventFull)(const char* eventName, const char* source, const char* infoType,
                                         const char* info, const char* appId, const char* version,
                                         const char* advType, const char* campType, const char* instType,
                                         const char* instRef, const char* instCh, const char* guid,
                                         const char* buildNumber);
typedef void (*PFN_parseTestDefAndDecideAdvType)(const char* definition, uint8_t* result);
typedef uint64_t (*PFN_startDownloadFile)(const wchar_t* proxyHost, uint32_t proxyPort,
                                          const wchar_t* proxyUser, const wchar_t* proxyPassword,
                                          const wchar_t* url, const wchar_t* targetFolder);
typedef void (*PFN_stopDownloadFile)(void);
typedef uint64_t (*PFN_getDownloadFileProgress)(uint32_t* percent);
typedef uint64_t (*PFN_getDownloadElapsedTimeInSeconds)(uint32_t* seconds);
typedef uint64_t (*PFN_getDownloadFileErrors)(uint32_t* errorCode, uint32_t* errorStage,
                                              uint32_t* httpStatus);
typedef uint64_t (*PFN_isDownloadFileCompleted)(uint8_t* completed);
typedef uint64_t (*PFN_isDownloadFileStarted)(uint8_t* started);
typedef uint64_t (*PFN_getValueFromPropertyFile)(const wchar_t* file, const char* key, wchar_t* buffer,
                                                 uint32_t capacity);
typedef uint64_t (*PFN_setValueInPropertyFile)(const wchar_t* file, const char* key, const wchar_t* value);
typedef int64_t (*PFN_getIntFromPropertyFile)(const wchar_t* file, const char* key);
typedef uint64_t (*PFN_isValueFromPropertyFileNotEmpty)(const wchar_t* file, const char* key);
typedef uint64_t (*PFN_readProperty)(const wchar_t* file, const char* key, wchar_t* buffer, uint32_t capacity,
                                     uint8_t enciphered);
typedef uint64_t (*PFN_writeProperty)(const wchar_t* file, const char* key, const wchar_t* value,
                                      uint8_t enciphered);
typedef uint64_t (*PFN_checkProperty)(const wchar_t* file, const char* key, uint8_t enciphered);
typedef void (*PFN_enableFx)(const wchar_t* file, const char* switchName, uint8_t value);
typedef void (*PFN_clearFx)(const wchar_t* file);
typedef uint64_t (*PFN_getOsVersion)(wchar_t* text);
typedef uint64_t (*PFN_isModuleLoaded)(const char* name);
typedef int64_t (*PFN_installService)(const wchar_t* path);
typedef uint64_t (*PFN_isServiceInstalled)(uint8_t* installed);
typedef uint64_t (*PFN_isServicePresent)(const wchar_t* name);
typedef int64_t (*PFN_startService)(void);
typedef int64_t (*PFN_stopService)(void);
typedef int64_t (*PFN_stopSystemService)(const wchar_t* name);
typedef int64_t (*PFN_uninstallService)(void);
typedef int64_t (*PFN_updateService)(void);
typedef void (*PFN_assignShellFolderViewOptions)(const wchar_t* folder, const uint32_t* viewCode,
                                                 const SortOption* sort, const uint32_t* groupCode,
                                                 uint32_t* error, uint32_t* status);
typedef void (*PFN_retrieveShellFolderViewOptions)(const wchar_t* folder, uint32_t* viewCode,
                                                   SortOption* sort, SortOption* group, uint32_t* error,
                                                   uint32_t* status);
typedef void (*PFN_createShellLink)(const wchar_t* target, const wchar_t* linkPath,
                                    const wchar_t* description, uint32_t* error, uint32_t* failedStep);
typedef uint64_t (*PFN_copyDirEx)(const wchar_t* source, const wchar_t* destination);
typedef uint64_t (*PFN_zelChromeExtWasDeleted)(void);
typedef int64_t (*PFN_bringRuningAppToTop)(const char* appName);
/**@}*/

#ifdef __cplusplus
}
#endif

#endif /* ZELSYSHELPER_H */
