/// Types for editors: the plug-in's element, and the helper of ksv.js. docs/page-api.md tells what each method does,
/// docs/codes.md what the codes say.

/// What every method gives. Both codes are 0 when the call succeeded.
interface KsvResult {
  readonly pluginRetCode: number;
  /// Absent when the call ended before there was anything to ask the library, and where the method asks none.
  readonly fnRetCode?: number;
}

// A key with a question mark is there when the call succeeded, a `required…` key at fnRetCode 11. What may be missing
// even after a success has `undefined` in its type.

interface KsvPlatformInfo extends KsvResult {
  readonly manufacturer?: string;
  readonly model?: string;
  readonly serialNumber?: string;
}
interface KsvPrompt extends KsvResult { readonly promptRequired: boolean; }
interface KsvVersion extends KsvResult { readonly version?: number; }
interface KsvSession extends KsvResult { readonly sessionHandle?: number; }
interface KsvData extends KsvResult {
  readonly b64Data?: string;
  /// At fnRetCode 11.
  readonly requiredDataLen?: number;
}
interface KsvToken extends KsvResult {
  readonly b64EncToken?: string;
  /// At fnRetCode 11.
  readonly requiredEncTokenLen?: number;
}
interface KsvPassword extends KsvResult {
  readonly OTP?: string;
  readonly b64OTP?: string;
  /// The token as it is after this password. If it is there, it has to replace the old one, which would make the same
  /// password again.
  readonly b64EncToken: string | undefined;
  /// Both at fnRetCode 11.
  readonly requiredOTPDataLen?: number;
  readonly requiredEncTokenDataLen?: number;
}
interface KsvTokenNames extends KsvResult {
  /// No array: not every browser gives its elements by number. The helper makes an array of it.
  readonly tokenFileNames?: {readonly length: number; readonly [index: number]: string};
}
interface KsvTokenNamesRead extends KsvResult { readonly tokenFileNames?: string[]; }
interface KsvInstance extends KsvResult { readonly instanceID?: number; }
interface KsvRegistered extends KsvResult {
  /// Absent in the first generation.
  readonly instanceID: number | undefined;
}
interface KsvUnregistered extends KsvResult {
  /// Absent in the first generation.
  readonly instanceId: number | undefined;
}
interface KsvStopped extends KsvResult { readonly instanceId?: number; }
interface KsvImage extends KsvResult { readonly ImageId?: number; }
interface KsvSealedInput extends KsvResult { readonly ClientInput?: string; }
interface KsvClicks extends KsvResult { readonly ButtonUpCount: number; }
interface KsvStatusText extends KsvResult { readonly status?: string; }
interface KsvMessage extends KsvResult {
  /// Both absent when no bytes were received.
  readonly b64WysData: string | undefined;
  readonly Length: number | undefined;
}

/// What the page's functions get.
interface KsvEvent {
  readonly appName: string;
  readonly dataSrc: number;
  readonly b64Data: string;
}
interface KsvPoint {
  readonly XCode: number;
  readonly YCode: number;
}
interface KsvDisplayEvent { readonly callback: number; }

type KsvEventCallback = (event: KsvEvent) => void;
type KsvMouseCallback = (point: KsvPoint) => void;
type KsvRepaintCallback = () => void;
type KsvDisplayCallback = (event: KsvDisplayEvent) => void;

/// The plug-in's methods. A point is a text such as "{120,45}".
interface KsvMethods {
  getPlatformInfo(): KsvPlatformInfo;
  isUpdaterPromptRequired(...ignored: any[]): KsvPrompt;

  zubInit(): KsvResult;
  zubDeInit(): KsvResult;
  zubGetVersion(): KsvVersion;
  zubGetCapabilities(name: string, selector: number, capacity: number): KsvData;
  zubDoFWUpdate(): KsvResult;

  /// null on a page without a window.
  zubRegisterEventCallback(name: string, callback: KsvEventCallback): KsvRegistered | null;
  zubUnRegisterEventCallback(name: string): KsvUnregistered;
  zubStopInstance(instanceID: number, ...ignored: any[]): KsvStopped;
  getInstanceID(name: string): KsvInstance;

  zubStartProvisioning(name: string): KsvSession;
  zubSendData(name: string, sessionHandle: number, dataType: number, b64Data: string): KsvResult;
  zubReceiveData(name: string, sessionHandle: number, dataType: number, capacity: number): KsvData;
  zubSendAndReceiveData(name: string, sessionHandle: number, dataType: number, b64Data: string,
                        capacity: number): KsvData;
  zubProcessSVPMessage(name: string, sessionHandle: number, b64Data: string): KsvResult;
  zubGetSVPMessage(name: string, sessionHandle: number, capacity: number): KsvData;
  zubEndProvisioning(name: string, sessionHandle: number, capacity: number, tokenFileName: string): KsvToken;
  zubEndProvisioningDomainBinding(name: string, sessionHandle: number, capacity: number, tokenFileName: string,
                                  bindToDomain: boolean, secondDomain: string): KsvToken;

  zubGetOTP(name: string, otpSelector: number, b64EncToken: string, b64Extra: string, otpCapacity: number,
            tokenCapacity: number, tokenFileName: string): KsvPassword;
  /// null on a page without an origin.
  zubEnumerateTokensDomainBinding(...ignored: any[]): KsvTokenNames | null;
  zubDeleteTokenDomainBinding(tokenFileName: string): KsvResult | null;

  zubInstall(appletId: string, b64Applet: string): KsvResult;
  zubUninstall(appletId: string): KsvResult;

  wysInit(initValue: number, initText: string): KsvResult;
  wysGetVersion(): KsvVersion;
  wysStatusToString(statusCode: number): KsvStatusText;
  wysEstablishSession(): KsvResult;
  wysCreateStdImage(inputType: number, imageId: number, positionText: string, imageSizeText: string, valueA: number,
                    pointBText: string, valueC: number, unused: any, valueD: number, byteE: number,
                    logoSizeText: string, logoText: string, unused2: any, unused3: any): KsvImage;
  wysMouseDown(pointText: string): KsvResult;
  wysMouseUp(pointText: string): KsvResult;
  wysClearButton(): KsvResult;
  wysSubmitButton(input: string): KsvResult;
  wysProcessSubmitAndGetResponse(): KsvSealedInput;
  wysGetButtonUpCount(...ignored: any[]): KsvClicks;
  wysRepaintImage(): KsvResult;
  wysCancelButton(): KsvResult;
  wysSendRecv(messageType: number, b64Message: string, capacity: number, flag: number): KsvMessage;
  wysSubmitFrame(imageId: number, pointText: string, b64Frame: string): KsvResult;
  wysProcessRemoteWysMessage(b64PartA: string, imageId: number, b64PartB: string, b64Token: string,
                             tokenFileName: string, b64Frame: string, framePointText: string,
                             imageSizeText: string): KsvResult;
  wysCloseSession(): KsvResult;
  wysDeInit(): KsvResult;

  /// The setters throw when they are not given one object.
  setMouseDownCallback(callback: KsvMouseCallback): void;
  setMouseUpCallback(callback: KsvMouseCallback): void;
  setWindowEventCallback(callback: () => void): void;
  setRepaintImageCallback(callback: KsvRepaintCallback, ...ignored: any[]): void;
  setDisplayEventsCallback(callback: KsvDisplayCallback, ...ignored: any[]): void;
}

/// The element of type application/x-vnd-norvo-webapi-ksv-5.0.9, with the id "plugin".
interface KsvPlugin extends HTMLObjectElement, KsvMethods {
  readonly version: string;
}

/// A result as the helper gives it: a plain object, with an array where the plug-in has a list.
type KsvRead<R> =
  R extends KsvResult ? ("tokenFileNames" extends keyof R ? KsvTokenNamesRead : R) : R extends void ? undefined : R;
/// What it has when the call has succeeded: all keys of its method, and no required lengths.
type KsvSuccess<R> =
  R extends KsvResult
    ? KsvResult & {readonly pluginRetCode: 0} & {readonly [K in keyof R as K extends keyof KsvResult | `required${string}` ? never : K]-?: R[K]}
    : R;
/// What it has at fnRetCode 11.
type KsvTooSmall<R> =
  KsvResult & {readonly fnRetCode: 11} & {readonly [K in keyof R as K extends `required${string}` ? K : never]-?: R[K]};

type KsvAnswer<M extends keyof KsvMethods> = KsvRead<ReturnType<KsvMethods[M]>>;

/// The helper of ksv.js.
interface KsvHelper {
  /// The page sets it before its first call.
  plugin: KsvPlugin;
  /// Called after each call; by default it writes a line to the console.
  onCall(name: string, argsText: string, result: any): void;
  /// Gives whatever the method answers. Throws when there is no plug-in.
  call<M extends keyof KsvMethods>(name: M, ...args: Parameters<KsvMethods[M]>): KsvAnswer<M>;
  /// Throws an Error that says why when the call did not succeed.
  must<M extends keyof KsvMethods>(name: M, ...args: Parameters<KsvMethods[M]>): KsvSuccess<Exclude<KsvAnswer<M>, null>>;
  read<R>(result: R): KsvRead<R>;
  show(value: any): string;
  /// With the method's name also true for those that give nothing, the `set…Callback` methods.
  succeeded<R extends KsvResult>(result: R | null | undefined, name?: string): result is R & KsvSuccess<R>;
  /// Whether a capacity was too small: then the result has the lengths to ask for.
  tooSmall<R extends KsvResult>(result: R | null): result is R & KsvTooSmall<R>;
  /// A sentence about the two codes; more exact with the method's name.
  explain(result: KsvResult | null | undefined, name?: string): string;
  toBase64(text: string): string;
  fromBase64(base64: string): string;
}

declare var ksv: KsvHelper;
/// The page's element; in the page host, which has no document, it is there from the start.
declare var plugin: KsvPlugin;
/// In `ksv-browser` and `ksv-host` only.
declare var ksvBrowser: {finish(succeeded: boolean): void};

interface Document {
  getElementById<I extends string>(elementId: I): I extends "plugin" ? KsvPlugin : HTMLElement | null;
}
interface Window { ksvBrowser?: typeof ksvBrowser; }
