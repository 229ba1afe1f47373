// The promise face: the synchronous add-on's eight methods, each returning a Promise. Arguments
// are read as the synchronous add-on reads them; the git-running methods take an optional last
// `options` argument. Failures reject with an Error whose `code` says why.

/** What the face needs of an AbortSignal: the host's own, or a polyfill's where it has none (Node 10). */
export interface AbortSignalLike {
  readonly aborted: boolean;
  readonly reason?: unknown;
  addEventListener(type: 'abort', listener: () => void, options?: { once?: boolean }): void;
  removeEventListener(type: 'abort', listener: () => void): void;
}

/** Options of a call that runs git. */
export interface GitRunOptions {
  /** Aborting it ends git and every process it started; the promise then rejects with ABORT_ERR. */
  signal?: AbortSignalLike;
  /** Milliseconds the call may take, waiting for its turn included, before whatever git it started is ended and the promise rejects with ETIMEDOUT; 0 or absent: no limit. */
  timeout?: number;
}

/** The rejection of a call whose git run failed (code GIT_FAILED). */
export interface GitFailedError extends Error {
  code: 'GIT_FAILED';
  /** git's exit code; null when a signal ended it. */
  exitCode: number | null;
  /** The signal that ended git, or null. */
  signal: string | null;
  /** What git wrote to its standard error. */
  stderr: string;
}

/**
 * The codes a rejection carries: GIT_FAILED (see GitFailedError), ABORT_ERR, ETIMEDOUT, ENOENT
 * (with `path` set to the repository folder when that is missing, or to "git" when git is not on
 * PATH), ENOTDIR, EACCES, ERR_INVALID_ARG_VALUE (a zero character or lone surrogate in a path),
 * ERR_INVALID_ARG_TYPE and ERR_OUT_OF_RANGE (options), ERR_STRING_TOO_LONG (a result),
 * ERR_MEMORY_ALLOCATION_FAILED (memory for the call could not be had), GIT_UNSAFE_REPOSITORY (the
 * repository's configuration cannot be guarded for the call: a setting that cannot be overridden,
 * or a configuration file that is no plain file only the user can change; nothing ran).
 */
export type ErrorCode = 'GIT_FAILED' | 'ABORT_ERR' | 'ETIMEDOUT' | 'ENOENT' | 'ENOTDIR' | 'EACCES'
  | 'ERR_INVALID_ARG_VALUE' | 'ERR_INVALID_ARG_TYPE' | 'ERR_OUT_OF_RANGE' | 'ERR_STRING_TOO_LONG'
  | 'ERR_MEMORY_ALLOCATION_FAILED' | 'GIT_UNSAFE_REPOSITORY';

// Options of "cd", as the synchronous face's.
import { ColorDiffOptions } from './index';
export { ColorDiffOptions };

/** Colours a unified diff as HTML; fulfils with undefined when given fewer than three arguments. */
export function cd(diffText: string, showColorPreviews: boolean, markAddedRemoved: boolean, options?: ColorDiffOptions): Promise<string>;
/** Escapes "&", "<" and ">" of a file with merge-conflict markers, keeping the seven-character markers raw. */
export function smc(text: string): Promise<string>;
/** Stages one hunk (git apply --cached, the patch on its standard input); fulfils with true when git applied it, rejects with git's message when it did not. */
export function grsh(patchText: string, repoPath: string, options?: GitRunOptions): Promise<true>;
/** Unstages one hunk (git apply -R --cached); fulfils with true, rejects with git's message when refused. */
export function gruh(patchText: string, repoPath: string, options?: GitRunOptions): Promise<true>;
/** Discards one hunk from the working tree (git apply -R); fulfils with true, rejects with git's message when refused. */
export function grdh(patchText: string, repoPath: string, options?: GitRunOptions): Promise<true>;
/** Fulfils with the fixed markup of the history view's advanced filter form. */
export function gafh(): Promise<string>;
/** Fulfils with the option elements of the commits that touched a file, followed across renames, newest first. */
export function mtgcld(filePath: string, repoPath: string, selectedHash: string, options?: GitRunOptions): Promise<string>;
/**
 * Fulfils with the blame-annotated code view of a file as in HEAD. contentText replaces the shown
 * lines and is the caller's own markup; null (or "") shows git's own lines as text ("&", "<" and
 * ">" escaped); an omitted one is converted text, as in the synchronous add-on.
 */
export function mtgch(filePath: string, repoPath: string, baseColor: string, contentText: string | null, options?: GitRunOptions): Promise<string>;
