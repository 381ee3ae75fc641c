/// Types for editors: the plug-in's element, and the helper of ksv.js. docs/page-api.md tells what each method does,
/// docs/codes.md what the codes say.

/// What every method gives. Both codes are 0 when the call went through.
interface KsvResult {
  readonly pluginRetCode: number;
  /// Absent when the call ended before there was anything to ask the library.
  readonly fnRetCode?: number;
}

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
  /// The token as it is after this password, to be kept instead of the old one.
  readonly b64EncToken?: string;
  /// Both at fnRetCode 11.
  readonly requiredOTPDataLen?: number;
  readonly requiredEncTokenDataLen?: number;
}
interface KsvTokenNames extends KsvResult {
  readonly tokenFileNames?: {readonly length: number; readonly [index: number]: string};
}
interface KsvInstance extends KsvResult { readonly instanceID?: number; }
interface KsvStopped extends KsvResult { readonly instanceId?: number; }
interface KsvImage extends KsvResult { readonly ImageId?: number; }
interface KsvSealedInput extends KsvResult { readonly ClientInput?: string; }
interface KsvClicks extends KsvResult { readonly ButtonUpCount: number; }
interface KsvStatusText extends KsvResult { readonly status?: string; }
interface KsvMessage extends KsvResult {
  readonly b64WysData?: string;
  readonly Length?: number;
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

/// The element of type application/x-vnd-norvo-webapi-ksv-5.0.9. A point is a text such as "{120,45}".
interface KsvPlugin extends HTMLObjectElement {
  readonly version: string;

  getPlatformInfo(): KsvPlatformInfo;
  isUpdaterPromptRequired(...ignored: any[]): KsvPrompt;

  zubInit(): KsvResult;
  zubDeInit(): KsvResult;
  zubGetVersion(): KsvVersion;
  zubGetCapabilities(name: string, selector: number, capacity: number): KsvData;
  zubDoFWUpdate(): KsvResult;

  /// null on a page without a window.
  zubRegisterEventCallback(name: string, callback: KsvEventCallback): KsvInstance | null;
  zubUnRegisterEventCallback(name: string): KsvStopped;
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
  wysCreateStdImage(inputType: number, imageId: number, originText: string, imageSizeText: string, valueA: number,
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

/// The helper of ksv.js. Its calls give plain objects, with arrays where the plug-in has lists.
declare const ksv: {
  plugin: KsvPlugin;
  onCall(name: string, argsText: string, result: any): void;
  call(name: keyof KsvPlugin, ...args: any[]): any;
  must(name: keyof KsvPlugin, ...args: any[]): any;
  read(result: any): any;
  show(value: any): string;
  succeeded(result: KsvResult | null): boolean;
  explain(result: KsvResult | null): string;
  toBase64(text: string): string;
  fromBase64(base64: string): string;
};
