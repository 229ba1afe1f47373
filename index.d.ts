// The add-on's exports: eight synchronous methods under their short names. Strings are read by
// the script's own string conversion (a missing argument reads as "undefined"); results are cut
// at their first zero character.

/** Options of "cd". */
export interface ColorDiffOptions {
  /**
   * Escapes "&", "<" and ">" of the diff as it is read, giving exactly what the diff escaped first
   * gives, in the same single pass: the diff's text never becomes markup. Without it the diff is
   * inserted as it stands.
   */
  escapeHtml?: boolean;
  /**
   * With markAddedRemoved, marks the words that changed inside each change block of a hunk (removed
   * lines followed directly by added lines, at least half of their tokens shared): each run of
   * changed tokens of a line in `<span class='diff-changed'>`...`</span>`, inside the line's markup.
   * Removing those spans gives exactly the view without the option.
   */
  words?: boolean;
}

/** Colours a unified diff as HTML: added/removed lines, hunk headers with action links, colour swatches. */
export function cd(diffText: string, showColorPreviews: boolean, markAddedRemoved: boolean, options?: ColorDiffOptions): string;
/** Escapes "&", "<" and ">" of a file with merge-conflict markers, keeping the seven-character markers raw. */
export function smc(text: string): string;
/** Stages one hunk: applies the patch to the index with git apply; true exactly when git applied it (its exit status, and no error in its output). */
export function grsh(patchText: string, repoPath: string): boolean;
/** Unstages one hunk: applies the patch in reverse to the index; false when git refused it. */
export function gruh(patchText: string, repoPath: string): boolean;
/** Discards one hunk: applies the patch in reverse to the working tree; false when git refused it. */
export function grdh(patchText: string, repoPath: string): boolean;
/** Returns the fixed markup of the history view's advanced filter form. */
export function gafh(): string;
/** Returns the option elements of the commits that touched a file, followed across renames, newest first. */
export function mtgcld(filePath: string, repoPath: string, selectedHash: string): string;
/**
 * Returns the blame-annotated code view of a file as in HEAD. contentText replaces the shown
 * lines and is the caller's own markup, inserted as it stands; null (or "") shows git's own lines
 * as text ("&", "<" and ">" escaped: a repository's file is no markup). An omitted contentText is
 * not null: it is converted like any other value and shows the text "undefined".
 */
export function mtgch(filePath: string, repoPath: string, baseColor: string, contentText: string | null): string;
