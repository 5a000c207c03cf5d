/**
 * \file
 * zelsyshelper: operating-system services for the applications and installers of the suite.
 *
 * Rules for all functions:
 * - Any thread may call any function. The library needs no initialisation and no shutdown.
 * - Every pointer may be null: a null output is skipped, and a null text counts as empty unless the comment
 *   of its parameter differs.
 * - Functions copy their texts: the caller may free them after the return. `const char*` texts are UTF-8.
 * - No function throws an exception.
 * - Functions work on the calling thread and block while they read or write files, usually for milliseconds.
 *   The functions for property files block for up to 5 seconds while another process holds the file. The
 *   comment of any other function that can block for seconds says so.
 * - Results fill a whole register: booleans are 0 or 1, unsigned 32-bit numbers are zero-extended, signed
 *   ones are sign-extended. A caller may declare the narrow or the wide type.
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
 * The version of this header. A new major number removes or changes functions. A new minor number adds
 * functions.
 */
/**@{*/
#define ZELSYSHELPER_VERSION_MAJOR 1 /**< Major number. */
#define ZELSYSHELPER_VERSION_MINOR 0 /**< Minor number. */
#define ZELSYSHELPER_VERSION_PATCH 0 /**< Patch number. */
#define ZELSYSHELPER_VERSION "1.0.0" /**< All three numbers as text. */
/**@}*/

/** \name Usage events
 *
 * An event is one JSON object that the library posts to the suite's statistics host. Proxy and country come
 * from "common.cfg" in the suite's settings folder, which the first event of the process reads. While the
 * country is unknown, each event first queries the country-lookup host. The environment variable
 * SET_TEST_STAT_HOST with the value "1" marks events as a test.
 */
/**@{*/

/**
 * Sends a usage event.
 *
 * Blocks until the exchange is over: for up to 16 seconds, or 32 if the host replies with an error status and
 * the library sends the event again. An unknown country adds up to 16 seconds. Do not call this function from
 * a thread that serves a window. While the process ends, for instance in the destructor of a static object of
 * a DLL, it returns at once and sends nothing.
 *
 * \param eventName    What happened.
 * \param source       Where in the application it happened.
 * \param infoType,info Kind and content of further information.
 * \param appId        The application's number in the suite, as text. Sent unchanged.
 * \param version      The application's version.
 * \param advType      The advertising type, see parseTestDefAndDecideAdvType().
 * \param campType     The campaign type.
 * \param guid         The identifier of the installation.
 * \param buildNumber  The application's build number.
 * \return Always 0. Only the log reports whether the event arrived: a rejection at the default level 3, the
 *         rest at level 7.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t sendAppEvent(const char* eventName, const char* source, const char* infoType,
                                       const char* info, const char* appId, const char* version,
                                       const char* advType, const char* campType, const char* guid,
                                       const char* buildNumber);

/**
 * Sends a usage event with the data of the installation. Otherwise identical to sendAppEvent().
 *
 * \param instType The type of the installation.
 * \param instRef  The reference of the installation.
 * \param instCh   The channel of the installation.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t sendAppEventFull(const char* eventName, const char* source, const char* infoType,
                                           const char* info, const char* appId, const char* version,
                                           const char* advType, const char* campType, const char* instType,
                                           const char* instRef, const char* instCh, const char* guid,
                                           const char* buildNumber);

/**
 * Draws a variant of a split test by weight. An application sends it as the advertising type of its events.
 *
 * Call this function on one thread only. It uses rand() of the library's C runtime, which has one generator
 * per thread. The first draw of the process seeds the generator of its thread with the time in seconds; draws
 * on other threads are the same in every run. rand() has 32,768 values: units of weight after the first
 * 32,768 are never drawn.
 *
 * \param definition Letters, each followed directly by its decimal weight, with optional white space between
 *                   the pairs: "A70 B30". A weight with a leading zero is octal. A letter without a weight
 *                   ends the definition.
 * \param result     Receives the letter of the variant, one byte. Receives 0 if the definition contains
 *                   anything else, or no weight above 0.
 * \since 1.0
 */
ZELSYSHELPER_API void parseTestDefAndDecideAdvType(const char* definition, uint8_t* result);

/**@}*/

/** \name Background download
 *
 * The library downloads one file at a time on its own thread, while the caller polls. These functions exclude
 * each other: a query waits while another thread is in startDownloadFile() or stopDownloadFile(). Queries
 * return 0 (32-bit unsigned). Before the first start and after a stop they return ZELSYSHELPER_NO_DOWNLOAD
 * and write nothing. The results of a download remain available until the next start or stop.
 *
 * Call stopDownloadFile() before FreeLibrary(). Otherwise the library stays loaded until the download has
 * ended. A download that is running when the process ends can leave a partial file.
 */
/**@{*/

/** Result of a query: there is no download. */
#define ZELSYSHELPER_NO_DOWNLOAD 1805u

/** \name Error stages of getDownloadFileErrors()
 */
/**@{*/
#define ZELSYSHELPER_STAGE_RUNNING 10u /**< Start refused: a download is running. */
#define ZELSYSHELPER_STAGE_NO_URL 20u  /**< Start refused: the URL is null. */
#define ZELSYSHELPER_STAGE_READY 40u   /**< The worker's event is missing or could not be reset. */
#define ZELSYSHELPER_STAGE_THREAD                                                                            \
    50u /**< The worker could not be started (error 87, 170 or 10), or ran out of memory (8). */
#define ZELSYSHELPER_STAGE_NO_LENGTH 60u /**< The server announces no Content-Length, or the length 0. */
#define ZELSYSHELPER_STAGE_FILE 70u /**< The file could not be created; error 123 also for a device name. */
/* The steps of the HTTP exchange. */
#define ZELSYSHELPER_STAGE_URL 14102u          /**< The URL is malformed. */
#define ZELSYSHELPER_STAGE_HOST 14103u         /**< The URL has no host name. */
#define ZELSYSHELPER_STAGE_SESSION 14104u      /**< WinHttpOpen failed; the proxy's name may be invalid. */
#define ZELSYSHELPER_STAGE_CONNECT 14105u      /**< WinHttpConnect failed; it does not contact the host. */
#define ZELSYSHELPER_STAGE_REQUEST 14106u      /**< WinHttpOpenRequest failed, or memory ran out. */
#define ZELSYSHELPER_STAGE_HEADERS 14107u      /**< WinHttpAddRequestHeaders failed. */
#define ZELSYSHELPER_STAGE_AUTH_SCHEMES 14110u /**< WinHttpQueryAuthSchemes failed. */
#define ZELSYSHELPER_STAGE_CREDENTIALS 14111u  /**< WinHttpSetCredentials failed. */
#define ZELSYSHELPER_STAGE_REDIRECTS 14112u    /**< The redirect policy could not be set. */
#define ZELSYSHELPER_STAGE_SEND 14113u         /**< The request could not be sent. */
#define ZELSYSHELPER_STAGE_RECEIVE 14114u      /**< The server sent no valid reply. */
#define ZELSYSHELPER_STAGE_BODY 14115u         /**< The request's body could not be sent. */
#define ZELSYSHELPER_STAGE_AVAILABLE 14116u    /**< The connection broke between two chunks of data. */
#define ZELSYSHELPER_STAGE_READ 14117u         /**< The connection broke within a chunk of data. */
#define ZELSYSHELPER_STAGE_WRITE 14118u        /**< The file could not be written. */
#define ZELSYSHELPER_STAGE_TIMEOUTS 14119u     /**< The time-outs could not be set. */
#define ZELSYSHELPER_STAGE_CLOSED 14120u       /**< Body too short: a cancel closed the connection. */
#define ZELSYSHELPER_STAGE_CUT 14121u          /**< Body too short: the server ended it. */
#define ZELSYSHELPER_STAGE_EMPTY 14122u        /**< Body too short: a read returned no data. */
/**@}*/

/**
 * Starts a download and returns once its thread is running.
 *
 * Requests the file's length first, and then the file. Writes the file in place and overwrites an existing
 * one; a failed download can leave a partial file. The name of the file is the part of the URL after the last
 * "/", unchanged: percent signs are not decoded, a query is kept, and backslashes lead to other folders.
 * Validate URLs from untrusted sources.
 *
 * Set your own deadline and call stopDownloadFile() when it has passed. A connection that times out is
 * attempted 17 times for two minutes each, so an unreachable host can take 34 minutes. Compare a hash of the
 * file: the download does not detect a file that is replaced on the server meanwhile.
 *
 * \param proxyHost,proxyPort The proxy; none if the host is empty and the port is 0.
 * \param proxyUser,proxyPassword The proxy's credentials; none if the user is empty.
 * \param url          An http or https URL; null is refused. A port in it is ignored: https uses port 443,
 *                     http port 80.
 * \param targetFolder The folder as a full path with backslashes, created if missing; empty for the suite's
 *                     settings folder.
 * \return 0, or the Windows error number if the download's thread or event is not available. A refusal also
 *         returns 0: getDownloadFileErrors() then returns the stage ZELSYSHELPER_STAGE_RUNNING or
 *         ZELSYSHELPER_STAGE_NO_URL.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t startDownloadFile(const wchar_t* proxyHost, uint32_t proxyPort,
                                            const wchar_t* proxyUser, const wchar_t* proxyPassword,
                                            const wchar_t* url, const wchar_t* targetFolder);

/**
 * Cancels the download and discards its results; does nothing without a download. Blocks until the download's
 * worker has ended: for milliseconds while data arrives, for up to 30 seconds if the server or the disk does
 * not respond. While the process ends, it returns at once and does nothing.
 *
 * \since 1.0
 */
ZELSYSHELPER_API void stopDownloadFile(void);

/**
 * Reports the progress of the download.
 *
 * \param percent Receives 0 before the first data, and 100 after the end, even after a failure. Exceeds 100
 *                if the server sends more than it has announced.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t getDownloadFileProgress(uint32_t* percent);

/**
 * Reports the duration of the running or last download.
 *
 * \param seconds Receives whole seconds.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t getDownloadElapsedTimeInSeconds(uint32_t* seconds);

/**
 * Reports the error of the download. All three values are final once the download is completed.
 *
 * \param errorCode  Receives a Windows error number. Can be 0 even if a step failed.
 * \param errorStage Receives the step that failed; 0 for none.
 * \param httpStatus Receives the status of the reply, also if it announces no length (stage 60) or its body
 *                   is too short (stages 14120 to 14122). 0 after a failure at any other stage. Check it: an
 *                   error page with a Content-Length is downloaded like any file.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t getDownloadFileErrors(uint32_t* errorCode, uint32_t* errorStage,
                                                uint32_t* httpStatus);

/**
 * Checks whether the download has ended, successfully or not.
 *
 * \param completed Receives 1 or 0, one byte.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t isDownloadFileCompleted(uint8_t* completed);

/**
 * Checks whether the download is running.
 *
 * \param started Receives 1 or 0, one byte.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t isDownloadFileStarted(uint8_t* started);

/**@}*/

/** \name Property files
 *
 * A property file is a text file with one key=value per line. Keys are case-sensitive. Nothing is trimmed or
 * escaped: a line feed in a key or value begins another entry, which can replace an existing one, and an "="
 * in a key ends the key. Do not pass such texts. Carriage returns are lost. Each call reads the whole file
 * and therefore sees changes by other processes. With the prefix `\\?\`, paths may exceed 260 characters.
 */
/**@{*/

/** The key is not in the file. */
#define ZELSYSHELPER_NO_KEY 100000u
/** The path is empty, or the file does not exist. */
#define ZELSYSHELPER_NO_FILE 100002u
/** The file cannot be read or written. */
#define ZELSYSHELPER_FILE_FAILED 100004u
/** Result of getIntFromPropertyFile() if the key is not in the file. */
#define ZELSYSHELPER_NO_INT (-1000)

/**
 * Reads one value as text.
 *
 * \param file     The file's path.
 * \param key      The key.
 * \param buffer   Receives the value and a terminating zero. Unchanged unless the result is 0.
 * \param capacity Size of the buffer in characters, at least the value's length plus two. A value that leaves
 *                 no spare character is not copied, and the result does not report this. To detect it, set
 *                 the first character to a line feed before the call: no value contains one.
 * \return 0 (32-bit unsigned) if the file has the key, otherwise ZELSYSHELPER_NO_KEY, ZELSYSHELPER_NO_FILE or
 *         ZELSYSHELPER_FILE_FAILED. A stored value that is not valid UTF-8 reads as empty.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t getValueFromPropertyFile(const wchar_t* file, const char* key, wchar_t* buffer,
                                                   uint32_t capacity);

/**
 * Sets one value. Creates the file if it is missing, but not its folder.
 *
 * Reads the file and writes it whole, with keys in ascending order. Lines without key=value are dropped.
 * Concurrent calls for one file, also from different processes, are serialised and keep each other's changes.
 * Changes can be lost only if a process holds the lock for more than 2 seconds, or if the file system has no
 * byte locks. Readers see either the old or the new contents, even if a process ends during the call (up to a
 * size of 16 MiB). A full disk leaves the file unchanged. If another program has opened the file without
 * sharing, the call retries for half a second and then leaves the file unchanged. If the file can be opened
 * but not read, its other keys are lost.
 *
 * \param value The value; empty removes the key from the file.
 * \return 1 if the file could be read before the change, otherwise 0. This does not report whether the change
 *         was written: a first call that creates the file returns 0, a failed write to a readable file 1.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t setValueInPropertyFile(const wchar_t* file, const char* key, const wchar_t* value);

/**
 * Reads one value as a decimal integer: blanks, a sign, digits up to the first other character.
 *
 * \return A number of 32 bits, sign-extended to 64. 0 if the value does not begin with a number,
 *         ZELSYSHELPER_NO_INT if the file does not have the key, ZELSYSHELPER_NO_FILE or
 *         ZELSYSHELPER_FILE_FAILED if the file cannot be read. A stored number can equal one of these.
 * \since 1.0
 */
ZELSYSHELPER_API int64_t getIntFromPropertyFile(const wchar_t* file, const char* key);

/**
 * Checks whether the file can be read and has the key with a value that is not empty.
 *
 * \return 1 or 0.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t isValueFromPropertyFileNotEmpty(const wchar_t* file, const char* key);

/**@}*/

/** \name Properties, plain or enciphered
 *
 * The values of a property file as above, or of a switch file: an enciphered property file. Each call keeps
 * some hundred bytes and the file's values in memory until the process ends. For repeated calls use the
 * functions above.
 */
/**@{*/

/**
 * Reads one value as text. A file that cannot be read counts as empty.
 *
 * \param buffer     Receives the value and a terminating zero. Unchanged if the file does not have the key.
 * \param capacity   Size of the buffer in characters. The value is copied only if the capacity is at least
 *                   its length plus two.
 * \param enciphered Not 0 for a switch file.
 * \return The value's length in characters (32-bit unsigned), even if it was not copied; 0 for an empty
 *         value, a value that is not valid UTF-8, or a missing key.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t readProperty(const wchar_t* file, const char* key, wchar_t* buffer,
                                       uint32_t capacity, uint8_t enciphered);

/**
 * Sets one value; an empty value removes the key from the file. Creates the file if it is missing, but not
 * its folder.
 *
 * Writes a plain file like setValueInPropertyFile(). An enciphered file that can be opened but not read loses
 * its other keys. Of two concurrent calls for an enciphered file, one can undo the change of the other. A
 * process that ends while it shortens an enciphered file can leave it unreadable.
 *
 * \return 0, ZELSYSHELPER_NO_FILE for an empty path, ZELSYSHELPER_FILE_FAILED if the file cannot be written
 *         (32-bit unsigned).
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t writeProperty(const wchar_t* file, const char* key, const wchar_t* value,
                                        uint8_t enciphered);

/**
 * Checks whether the file can be read and has the key, even with an empty value.
 *
 * \return 1 or 0.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t checkProperty(const wchar_t* file, const char* key, uint8_t enciphered);

/**@}*/

/** \name Switch files
 *
 * A switch file contains on/off switches of one application as "1" and "0". It is in the suite's settings
 * folder; its name is the parameter `file` followed by ".fx". It is enciphered to keep users from editing it
 * by hand; the cipher protects no secrets.
 */
/**@{*/

/**
 * Sets one switch. Creates the file if it is missing. Does not report a failed write.
 *
 * If two processes change one file concurrently, one change can be lost. Blocks for up to 5 seconds while
 * other processes hold the file. Also waits while another thread is in this function or in clearFx().
 *
 * \param file       The file's name, without folder and extension. An empty name does nothing.
 * \param switchName The switch. It must not contain a line break or "=".
 * \param value      0: off; otherwise on.
 * \since 1.0
 */
ZELSYSHELPER_API void enableFx(const wchar_t* file, const char* switchName, uint8_t value);

/**
 * Empties a switch file. Does not create a missing file. A file that another program holds open for longer
 * than 250 ms is left unchanged. Also waits while another thread is in this function or in enableFx().
 *
 * \param file The file's name, as for enableFx().
 * \since 1.0
 */
ZELSYSHELPER_API void clearFx(const wchar_t* file);

/**@}*/

/** \name The machine */
/**@{*/

/**
 * Distinguishes Windows 10 from Windows 11.
 *
 * \param text Receives "10.0.0" or "11.0.0" with its terminating zero: it must have room for seven
 *             characters. Unchanged if the result is 0.
 * \return 1, or 0 on any other version, or if the version cannot be queried. Windows Server 2016 and later
 *         count as 10, from build 22000 on as 11.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t getOsVersion(wchar_t* text);

/**
 * Checks whether a process runs whose executable has this name.
 *
 * \param name The file name with its extension and without a folder. Case is ignored.
 * \return 1 or 0.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t isModuleLoaded(const char* name);

/**@}*/

/** \name Services
 *
 * The suite's update service, and any service by name, on this machine. These functions can block for
 * seconds, startService() for as long as a pending stop takes. All except isServiceInstalled() and
 * isServicePresent() need administrator rights. A negative result is a code below, a positive result a
 * Windows error number; both are signed 32-bit numbers.
 */
/**@{*/

/** The service manager could not be opened. */
#define ZELSYSHELPER_SERVICE_NO_MANAGER (-1)
/** The service could not be opened; installService(): the path is empty or longer than 2047 characters. */
#define ZELSYSHELPER_SERVICE_NOT_OPENED (-2)
/** startService(), stopService(): the state could not be queried. uninstallService(): the service could not
 * be deleted. installService(): the service manager could not be opened. */
#define ZELSYSHELPER_SERVICE_FAILED (-3)
/** The service refused to stop, and no stop is pending. A service that is not running also refuses. */
#define ZELSYSHELPER_SERVICE_STOP_REFUSED (-4)
/** startService(): the state could not be queried while a stop was pending. */
#define ZELSYSHELPER_SERVICE_STOP_UNKNOWN (-5)
/** startService(): a pending stop made no progress within the service's wait hint. Detected only for a wait
 * hint shorter than the interval between two queries, which is at least one second. */
#define ZELSYSHELPER_SERVICE_STOP_STUCK (-6)
/** startService(): the state could not be queried after the start. */
#define ZELSYSHELPER_SERVICE_START_UNKNOWN (-8)

/**
 * Registers the suite's update service, which the system starts from the next boot on.
 *
 * Retries for about two seconds while a deleted service of this name is still marked for deletion.
 *
 * \param path The service's program without quotes and arguments, up to 2047 characters.
 * \return 0; ZELSYSHELPER_SERVICE_NOT_OPENED for a bad path; ZELSYSHELPER_SERVICE_FAILED; or the Windows
 *         error number, 1073 (ERROR_SERVICE_EXISTS) for an existing service, which is left unchanged.
 * \since 1.0
 */
ZELSYSHELPER_API int64_t installService(const wchar_t* path);

/**
 * Checks whether the suite's update service exists.
 *
 * \param installed Receives 1 or 0, one byte; 0 also if the service manager or the service cannot be opened.
 * \return Always 0.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t isServiceInstalled(uint8_t* installed);

/**
 * Checks whether a service exists.
 *
 * \return 1 or 0; 0 also if the service manager or the service cannot be opened.
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t isServicePresent(const wchar_t* name);

/**
 * Starts the suite's update service. Waits first for a pending stop, and then while the start makes progress.
 * The wait for the stop has no upper bound, unless it ends with ZELSYSHELPER_SERVICE_STOP_STUCK.
 *
 * \return 0 if the service was running or paused, or has been started, even if it did not reach the running
 *         state. Otherwise a code or a Windows error number.
 * \since 1.0
 */
ZELSYSHELPER_API int64_t startService(void);

/**
 * Stops the suite's update service and waits for one to 16 seconds.
 *
 * \return 0, also if isServicePresent() does not find the service or it is still stopping after that time;
 *         otherwise a code.
 * \since 1.0
 */
ZELSYSHELPER_API int64_t stopService(void);

/**
 * Stops any service. Otherwise identical to stopService().
 *
 * \since 1.0
 */
ZELSYSHELPER_API int64_t stopSystemService(const wchar_t* name);

/**
 * Stops the suite's update service and deletes it, even if it does not stop. Waits like stopService().
 *
 * \return 0 or a code.
 * \since 1.0
 */
ZELSYSHELPER_API int64_t uninstallService(void);

/**
 * Restores the description of the suite's update service.
 *
 * \return 0 or a code.
 * \since 1.0
 */
ZELSYSHELPER_API int64_t updateService(void);

/**@}*/

/** \name The shell
 *
 * The functions for folder views and links require COM on the calling thread, in any apartment. Their error
 * is a Windows error number or the low 16 bits of an HRESULT.
 */
/**@{*/

/** \name View codes
 * How a folder is shown.
 */
/**@{*/
#define ZELSYSHELPER_VIEW_ICONS 1u /**< Assigning sets 48 pixels; icons of any size read as this code. */
#define ZELSYSHELPER_VIEW_SMALL_ICONS 2u
#define ZELSYSHELPER_VIEW_LIST 3u
#define ZELSYSHELPER_VIEW_DETAILS 4u
#define ZELSYSHELPER_VIEW_THUMBNAILS 5u      /**< 128 pixels. */
#define ZELSYSHELPER_VIEW_THUMBNAIL_STRIP 6u /**< 256 pixels. */
#define ZELSYSHELPER_VIEW_TILES 7u
#define ZELSYSHELPER_VIEW_CONTENT 8u
/**@}*/

/** \name Column codes
 * The column by which a folder is sorted or grouped. 0: not set or unknown.
 */
/**@{*/
#define ZELSYSHELPER_COLUMN_NONE 1u
#define ZELSYSHELPER_COLUMN_NAME 10u
#define ZELSYSHELPER_COLUMN_SIZE 20u
#define ZELSYSHELPER_COLUMN_TYPE 21u
#define ZELSYSHELPER_COLUMN_MODIFIED 30u
#define ZELSYSHELPER_COLUMN_OTHER 40u /**< {C94FB582-8AE1-4570-835B-BCA28FB9DE9B}, 6 */
/**@}*/

/** Status: no file-manager window is open. */
#define ZELSYSHELPER_NO_SHELL_WINDOW 1000u

/** A column and the direction in which a folder is sorted or grouped by it. */
typedef struct SortOption {
    uint32_t code;     /**< A column code. */
    uint8_t ascending; /**< Not 0: ascending. */
} SortOption;

/** The layout must not change: callers in other languages declare it themselves. */
typedef char
    ZELSYSHELPER_SORT_OPTION_LAYOUT[sizeof(SortOption) == 8 && offsetof(SortOption, ascending) == 4 ? 1 : -1];

/**
 * Sets and saves how the file manager shows a folder. Opens a window on the folder, and changes all windows
 * that show it.
 *
 * Does not wait for a new window, which may open too late to be changed. Check the folder with
 * retrieveShellFolderViewOptions(), or call again. Blocks while the file manager does not respond.
 *
 * \param folder    The folder as a full path, without a trailing backslash except for a drive's root, `C:\`.
 * \param viewCode  Points to a view code; null or an unknown code leaves the view unchanged.
 * \param sort      Null or an unknown column code leaves the sorting unchanged. The direction also applies to
 *                  the grouping; null groups in ascending order.
 * \param groupCode Points to a column code; null or an unknown code leaves the grouping unchanged.
 * \param error     Receives 0; 87 for an empty path or a missing folder; or the error of listing the windows.
 *                  Failures of a single window are not reported.
 * \param status    Receives 0 or ZELSYSHELPER_NO_SHELL_WINDOW.
 * \since 1.0
 */
ZELSYSHELPER_API void assignShellFolderViewOptions(const wchar_t* folder, const uint32_t* viewCode,
                                                   const SortOption* sort, const uint32_t* groupCode,
                                                   uint32_t* error, uint32_t* status);

/**
 * Reads how the file manager shows a folder. Opens a window on the folder; if several windows show it, the
 * last one determines the result. Otherwise identical to assignShellFolderViewOptions().
 *
 * \param viewCode Receives a view code; 0 if no window was found or the view is unknown.
 * \param sort     Receives a column code and the direction 0: the direction is not read. {0, 1} if no window
 *                 was found.
 * \param group    Receives a column code and a direction; {0, 1} if no window was found.
 * \since 1.0
 */
ZELSYSHELPER_API void retrieveShellFolderViewOptions(const wchar_t* folder, uint32_t* viewCode,
                                                     SortOption* sort, SortOption* group, uint32_t* error,
                                                     uint32_t* status);

/** \name Steps of createShellLink() */
/**@{*/
#define ZELSYSHELPER_LINK_TARGET 1u       /**< The target is empty. */
#define ZELSYSHELPER_LINK_PATH 2u         /**< The link's path is empty. */
#define ZELSYSHELPER_LINK_CREATE 21u      /**< The link object could not be created; is COM initialised? */
#define ZELSYSHELPER_LINK_SET_TARGET 22u  /**< The target was refused. */
#define ZELSYSHELPER_LINK_DESCRIPTION 23u /**< The description was refused. */
#define ZELSYSHELPER_LINK_FILE 24u        /**< The link object cannot be written to a file. */
#define ZELSYSHELPER_LINK_SAVE 25u        /**< The file could not be written. */
/**@}*/

/**
 * Writes a shell link and overwrites an existing one. Trims white space around both paths.
 *
 * \param target      The path to which the link points. It need not exist.
 * \param linkPath    The link's full path with its extension, ".lnk". Its folder must exist. Null fails with
 *                    ZELSYSHELPER_LINK_PATH, unless the target is null too.
 * \param description Null for none.
 * \param error       Receives 0 or the error.
 * \param failedStep  Receives 0, or the step that failed.
 * \since 1.0
 */
ZELSYSHELPER_API void createShellLink(const wchar_t* target, const wchar_t* linkPath,
                                      const wchar_t* description, uint32_t* error, uint32_t* failedStep);

/**
 * Deletes the destination folder with its contents, then copies the source folder's tree to its place.
 *
 * The destination itself is created only as the parent of a subfolder. Files in the source's root that are
 * listed before its first subfolder are not copied, and each of them counts as a failure. A missing
 * destination counts as one failure too, since it could not be deleted. To copy reliably, keep all files in
 * subfolders.
 *
 * Continues after a failure: counts it and writes a line to standard output. A folder that cannot be listed
 * counts as empty, which is no failure. If memory runs out, prints "error Exception" and ends, without
 * counting a failure. If the source is missing, is a file, or is not readable for the caller, the destination
 * is deleted and nothing is copied: check the source before the call. Read-only files are not deleted. Paths
 * are truncated to 512 characters. Pass the destination as a full path with backslashes, and keep the paths
 * of its subfolders to at most 247 characters: other subfolders are not created.
 *
 * Changes nothing and counts one failure if a path is blank, or if the destination is the root of a drive or
 * share, is the source or contains the source. Removes links to folders in the destination and does not
 * follow them. Copies links in the source as the folders to which they lead; a link to its own ancestor, or
 * to a folder that contains its copy, counts as a failure. Blocks for the whole copy; no other thread or
 * process may change the two folders meanwhile. Concurrent calls mix their counts.
 *
 * \return The number of failures (32-bit unsigned).
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t copyDirEx(const wchar_t* source, const wchar_t* destination);

/** Result of zelChromeExtWasDeleted(): not listed, or the preferences cannot be read. */
#define ZELSYSHELPER_EXTENSION_ABSENT 318u
/** Result of zelChromeExtWasDeleted(): this number plus the low 16 bits of an HRESULT if the user's folder
 * cannot be found. */
#define ZELSYSHELPER_EXTENSION_NO_FOLDER 1000000u

/**
 * Checks whether the suite's browser extension is missing from the browser's default profile. Reads the
 * preferences file even while the browser runs.
 *
 * \return 0 if the extension is listed, otherwise ZELSYSHELPER_EXTENSION_ABSENT or a number of at least
 *         ZELSYSHELPER_EXTENSION_NO_FOLDER (32-bit unsigned).
 * \since 1.0
 */
ZELSYSHELPER_API uint64_t zelChromeExtWasDeleted(void);

/**@}*/

/** \name Single instance */
/**@{*/

/**
 * Brings the running instance of an application to the front. An application calls this at its start, and
 * exits if the result is 1.
 *
 * Normally takes milliseconds. Blocks for up to 16 seconds: 6 while the running instance handles another
 * client, and 5 for the reply to each of two requests. Opening the pipe by the computer's name is not part of
 * this bound: it takes as long as the network stack blocks.
 *
 * Names are machine-wide: an instance in another user's session counts, although its window cannot be raised.
 * To run one instance per session, make the session's number part of the name. Any process of this machine,
 * whatever its user, can connect to the pipe of an instance, and so can users of other machines whom the
 * Server service authenticates. A process that serves the pipe's name can answer in place of the application.
 *
 * \param appName The application's name, the same in all its instances: up to 190 ASCII characters except the
 *                backslash. Case is ignored. A name with a backslash returns 0.
 * \return 1 if another instance has answered, otherwise 0 (signed 32-bit).
 * \since 1.0
 */
ZELSYSHELPER_API int64_t bringRuningAppToTop(const char* appName);

/**@}*/

/** \name Function types
 *
 * For callers that obtain the functions from GetProcAddress(). zelsyshelper_load.hpp does this for C++
 * callers.
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
